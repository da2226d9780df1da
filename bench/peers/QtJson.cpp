#include "bench/data/DocumentBench.h"
#include "bench/peers/JsonSyntax.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace zel::bench {

namespace {

struct Json {
    using Tree = QJsonDocument;

    static inline const Syntax& SYNTAX = JSON_SYNTAX;

    static Tree Read(const std::string& text) {
        return QJsonDocument::fromJson(
            QByteArray::fromRawData(text.data(), static_cast<int>(text.size())));
    }

    static std::size_t CountNodes(const Tree& tree) { return CountMembers(tree.object()); }

private:
    static std::size_t CountMembers(const QJsonObject& object) {
        std::size_t nodes = 0;
        for (const QJsonValue value : object) {
            nodes += 1 + CountMembers(value.toObject());
        }
        return nodes;
    }
};

using namespace Documents;

constexpr const char* NAME = "QJsonDocument";

const Comparison s_readSmall(READ_SMALL, {{NAME, ReadAndDrop<Json, SMALL>, 0.85}});
const Comparison s_readLarge(READ_LARGE, {{NAME, ReadAndDrop<Json, LARGE>}});
const Comparison s_heapSmall(HEAP_SMALL, {{NAME, MeasureHeap<Json, SMALL>}});
const Comparison s_heapLarge(HEAP_LARGE, {{NAME, MeasureHeap<Json, LARGE>}});

}  // namespace

}  // namespace zel::bench
