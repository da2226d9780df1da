#include "zel/core/Export.h"

namespace zel {

constinit thread_local char t_threadIdentity = 0;

}  // namespace zel
