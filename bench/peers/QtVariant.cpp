#include "bench/variant/VariantBench.h"

#include <QVariant>

namespace zel::bench {

namespace {

class Holder {
public:
    // toInt is Qt's quick conversion; convert takes longer.
    void Set(const QString& text) { m_variant = QVariant(text).toInt(); }

    void Get(QString* text) { *text = m_variant.toString(); }

private:
    QVariant m_variant;
};

using namespace Variants;

const Comparison s_text(INT_AS_TEXT, {{"QVariant", SetAndGet<IntAsText<QString>, Holder>, 0.7}});

}  // namespace

}  // namespace zel::bench
