#pragma once

#include "zel/core/RCPtr.h"
