#pragma once

// The whole family of variants: values whose type is known at run time only.

#include "zel/variant/VariantBase.h"
#include "zel/variant/VariantBuffer.h"
#include "zel/variant/VariantByteOrder.h"
#include "zel/variant/VariantComparison.h"
#include "zel/variant/VariantConversion.h"
#include "zel/variant/VariantStream.h"
#include "zel/variant/VariantText.h"
#include "zel/variant/VariantValue.h"
