#include "bench/foundation/EventBench.h"

#include <boost/signals2/signal.hpp>

namespace zel::bench {

namespace {

class Source {
public:
    explicit Source(int sinks) {
        while (sinks-- > 0) {
            m_signal.connect(m_sink);
        }
    }

    void AddAndRemove() { m_signal.connect(m_sink).disconnect(); }

private:
    using Signal = boost::signals2::signal<void(int)>;

    Signal m_signal;
    Signal::slot_type m_sink{Sink()};
};

const Comparison s_change(Events::CHANGE, {{"Boost.Signals2", AddAndRemove<Source>, 0.3}});

}  // namespace

}  // namespace zel::bench
