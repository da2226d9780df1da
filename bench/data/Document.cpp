#include "bench/data/Document.h"

#include <algorithm>
#include <array>
#include <random>
#include <string_view>

namespace zel::bench {

namespace {

constexpr std::array<const char*, 40> WORDS{
    "station", "sensor",  "interval", "limit",  "low",     "high",   "port",     "rate",
    "name",    "path",    "unit",     "alarm",  "filter",  "gain",   "offset",   "channel",
    "log",     "network", "time",     "zone",   "address", "level",  "humidity", "pressure",
    "wind",    "battery", "voltage",  "report", "retry",   "buffer", "size",     "format",
    "archive", "days",    "display",  "colour", "contact", "phone",  "site",     "height"};

constexpr std::array<const char*, 16> VALUES{"0",
                                             "1",
                                             "60",
                                             "yes",
                                             "0.25",
                                             "1013.25",
                                             "22:30",
                                             "north",
                                             "Europe/Zurich",
                                             "192.168.20.14",
                                             "2023-11-22",
                                             "/var/lib/station/archive",
                                             "wind and gusts, 10 minutes",
                                             "mast 2, north ridge, 2340 m",
                                             "%d %b %Y %H:%M",
                                             "9600 8N1"};

class Generator {
public:
    // Adds `nodes` nodes below `parent`: a few values, and sections that share the remaining nodes.
    void Fill(Node& parent, std::size_t nodes) {
        const std::size_t values = 4 + Random(5);
        if (nodes <= values + 2) {
            AddValues(parent, nodes);
            return;
        }
        AddValues(parent, values);
        nodes -= values;
        for (std::size_t sections = 2 + Random(3); nodes > 0 && sections > 0; --sections) {
            const std::size_t share = std::max<std::size_t>(1, nodes / sections);
            AddSection(parent, share);
            nodes -= share;
        }
    }

    void AddValues(Node& parent, std::size_t count) {
        while (count-- > 0) {
            Add(parent).value = Pick(VALUES);
        }
    }

private:
    void AddSection(Node& parent, std::size_t nodes) {
        if (nodes == 1) {
            AddValues(parent, 1);
        } else {
            Fill(Add(parent), nodes - 1);
        }
    }

    std::size_t Random(std::size_t below) { return m_random() % below; }

    template <std::size_t size>
    std::string Pick(const std::array<const char*, size>& from) {
        return from[Random(size)];
    }

    Node& Add(Node& parent) {
        std::string name;
        do {
            name = Pick(WORDS);
            if (Random(3) != 0) {
                name += '-' + Pick(WORDS);
            }
        } while (std::any_of(parent.children.begin(), parent.children.end(),
                             [&](const Node& node) { return node.name == name; }));
        return parent.children.emplace_back(Node{name, {}, {}});
    }

    std::mt19937 m_random{78};
};

std::string Filled(std::string_view pattern, const Node& node) {
    std::string text;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == '%') {
            text += pattern[++i] == 'n' ? node.name : node.value;
        } else {
            text += pattern[i];
        }
    }
    return text;
}

void WriteNode(const Node& node, const Syntax& syntax, std::string& text) {
    if (node.children.empty()) {
        text += Filled(syntax.value, node);
        return;
    }
    text += Filled(syntax.open, node);
    for (const Node& child : node.children) {
        if (&child != &node.children.front()) {
            text += syntax.between;
        }
        WriteNode(child, syntax, text);
    }
    text += Filled(syntax.close, node);
}

}  // namespace

Node MakeSettings(std::size_t nodes) {
    Node root{"settings", {}, {}};
    Generator().Fill(root, nodes - 1);
    return root;
}

Node MakeList(std::size_t values) {
    Node root{"calibration", {}, {}};
    Generator().AddValues(root, values);
    return root;
}

std::string Write(const Node& root, const Syntax& syntax) {
    std::string text = syntax.before;
    WriteNode(root, syntax, text);
    return text + syntax.after;
}

}  // namespace zel::bench
