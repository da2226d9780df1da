#pragma once

/// @file
/// Forwards to `zel/core/CriticalSectionLock.h`.

#include "zel/core/CriticalSectionLock.h"
