#pragma once

/// @file
/// Forwards to `zel/core/WeakPtr.h`.

#include "zel/core/WeakPtr.h"
