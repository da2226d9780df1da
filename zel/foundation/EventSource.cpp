#include "zel/foundation/EventSource.h"

namespace zel {

template class EventSinkList<TimerThread*>;
template class EventSource<TimerThread*>;
template class EventSinkList<std::string>;
template class EventSource<std::string>;

}  // namespace zel
