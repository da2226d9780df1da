#pragma once

/// @file
/// Brings in the whole bridge: the registry, `RegisterFunction` and the C entry point.
///
/// Guide: docs/c-bridge.md

#include "zel/bridge/CBinder.h"
#include "zel/bridge/FunctionBinder.h"
#include "zel/bridge/ZelBridge.h"
