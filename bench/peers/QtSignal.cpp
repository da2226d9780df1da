#include "bench/foundation/EventBench.h"

#include <QObject>

namespace zel::bench {

// Not in an unnamed namespace, which the generated code couldn't access.
class QtSource : public QObject {
    Q_OBJECT

public:
    explicit QtSource(int sinks) {
        while (sinks-- > 0) {
            connect(this, &QtSource::Fired, Sink());
        }
    }

    void Fire(int value) { Q_EMIT Fired(value); }

Q_SIGNALS:
    void Fired(int value);
};

namespace {

const Comparison s_fireTwice(Events::FIRE_10_TWICE, {{"Qt", Fire<QtSource, 10>, 0.35, 2}});

}  // namespace

}  // namespace zel::bench

#include "QtSignal.moc"
