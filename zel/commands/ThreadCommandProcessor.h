#pragma once

/// @file
/// Forwards to the header that defines `ThreadCommandProcessor`.
///
/// Guide: docs/commands.md

#include "zel/commands/CommandProcessor.h"
