#include "bench/foundation/EventBench.h"

#include <sigc++/sigc++.h>

namespace zel::bench {

namespace {

class Source {
public:
    explicit Source(int sinks) {
        while (sinks-- > 0) {
            m_signal.connect(Sink());
        }
    }

    void Fire(int value) { m_signal(value); }

private:
    sigc::signal<void, int> m_signal;
};

const Comparison s_fire10(Events::FIRE_10, {{"sigc++", Fire<Source, 10>, 0.65}});
const Comparison s_fire100(Events::FIRE_100, {{"sigc++", Fire<Source, 100>, 0.45}});

}  // namespace

}  // namespace zel::bench
