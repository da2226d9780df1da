#pragma once

/// @file
/// Forwards to `zel/core/RCPtr.h`.

#include "zel/core/RCPtr.h"
