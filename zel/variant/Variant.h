#pragma once

/// @file
/// All headers of the variant module.
///
/// Guide: docs/variants.md

#include "zel/variant/VariantBase.h"
#include "zel/variant/VariantBuffer.h"
#include "zel/variant/VariantByteOrder.h"
#include "zel/variant/VariantComparison.h"
#include "zel/variant/VariantConversion.h"
#include "zel/variant/VariantEx.h"
#include "zel/variant/VariantStream.h"
#include "zel/variant/VariantText.h"
#include "zel/variant/VariantValue.h"
