#pragma once

#include "bench/data/Document.h"

namespace zel::bench {

inline const Syntax JSON_SYNTAX{"{", "\"%n\":{", "\"%n\":\"%v\"", ",", "}", "}"};

}  // namespace zel::bench
