#include "bench/data/DocumentBench.h"
#include "bench/peers/JsonSyntax.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace zel::bench {

namespace {

struct RapidJson {
    using Tree = rapidjson::Document;

    static inline const Syntax& SYNTAX = JSON_SYNTAX;

    static Tree Read(const std::string& text) {
        Tree tree;
        tree.Parse(text.data(), text.size());
        return tree;
    }

    static std::size_t Write(const Tree& tree) {
        rapidjson::StringBuffer out;
        rapidjson::Writer<rapidjson::StringBuffer> writer(out);
        tree.Accept(writer);
        return out.GetSize();
    }

    static const rapidjson::Value* Find(const Tree& tree, const std::string& name) {
        const rapidjson::Value& root = tree.MemberBegin()->value;
        const auto found =
            root.FindMember(rapidjson::Value(rapidjson::StringRef(name.data(), name.size())));
        return found == root.MemberEnd() ? nullptr : &found->value;
    }

    static std::size_t CountNodes(const Tree& tree) { return CountMembers(tree); }

private:
    static std::size_t CountMembers(const rapidjson::Value& value) {
        if (!value.IsObject()) {
            return 0;
        }
        std::size_t nodes = 0;
        for (const auto& member : value.GetObject()) {
            nodes += 1 + CountMembers(member.value);
        }
        return nodes;
    }
};

using namespace Documents;

constexpr const char* NAME = "rapidjson";

const Comparison s_readSmall(READ_SMALL, {{NAME, ReadAndDrop<RapidJson, SMALL>}});
const Comparison s_readLarge(READ_LARGE, {{NAME, ReadAndDrop<RapidJson, LARGE>}});
const Comparison s_writeSmall(WRITE_SMALL, {{NAME, WriteCompact<RapidJson, SMALL>, 1.0}});
const Comparison s_writeLarge(WRITE_LARGE, {{NAME, WriteCompact<RapidJson, LARGE>, 1.0}});
const Comparison s_find(FIND, {{NAME, FindChild<RapidJson>, 0.8}});
const Comparison s_heapSmall(HEAP_SMALL, {{NAME, MeasureHeap<RapidJson, SMALL>}});
const Comparison s_heapLarge(HEAP_LARGE, {{NAME, MeasureHeap<RapidJson, LARGE>}});

}  // namespace

}  // namespace zel::bench
