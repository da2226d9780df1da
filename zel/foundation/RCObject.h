#pragma once

#include "zel/core/RCObject.h"
