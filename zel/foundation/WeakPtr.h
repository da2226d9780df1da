#pragma once

#include "zel/core/WeakPtr.h"
