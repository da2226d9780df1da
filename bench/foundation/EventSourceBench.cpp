#include "zel/foundation/EventSource.h"

#include "bench/foundation/EventBench.h"

namespace zel::bench {

namespace {

class Source {
public:
    explicit Source(int sinks) : m_extra(m_source.Connect(Sink())) {
        m_source.RemoveSink(m_extra.Get());
        while (sinks-- > 0) {
            m_source.Connect(Sink());
        }
    }

    void Fire(int value) { m_source.Fire(value); }

    void AddAndRemove() {
        m_source.AddSink(m_extra);
        m_source.RemoveSink(m_extra.Get());
    }

private:
    EventSource<int> m_source;
    RCPtr<EventSink<int>> m_extra;
};

const Comparison s_fire10(Events::FIRE_10, {{Side::OURS, Fire<Source, 10>}});
const Comparison s_fire100(Events::FIRE_100, {{Side::OURS, Fire<Source, 100>}});
const Comparison s_fireTwice(Events::FIRE_10_TWICE,
                             {{Side::OURS, Fire<Source, 10>, Side::NO_AIM, 2}});
const Comparison s_change(Events::CHANGE, {{Side::OURS, AddAndRemove<Source>}});

}  // namespace

}  // namespace zel::bench
