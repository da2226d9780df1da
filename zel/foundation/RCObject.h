#pragma once

/// @file
/// Forwards to `zel/core/RCObject.h`.

#include "zel/core/RCObject.h"
