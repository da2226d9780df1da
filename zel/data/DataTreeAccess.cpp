#include "zel/data/DataTree.h"
#include "zel/data/LoadedDataTree.h"
#include "zel/foundation/Log.h"

namespace zel {

namespace {

const LogArea s_log("DataTree", 3);

// Longer paths are cut in messages. The limit also ends the walk if nodes that were removed from
// their parents are parents of each other.
constexpr int MAX_NAMES_IN_MESSAGE = 32;

}  // namespace

const DataTree& DataTree::RequireChild(std::string_view name) const {
    const DataTree* const child = FindChild(name);
    if (child == nullptr) {
        ThrowWithInfo<DataTreeEx>(s_log, DescribePlace(), "Node ", name, " not found");
    }
    return *child;
}

void DataTree::ThrowWrongValue(const std::string& values) const {
    ThrowWithInfo<DataTreeEx>(s_log, DescribePlace(), "Value '", m_value, "' of node ", m_name,
                              " is not ", values);
}

// Returns what is known of the place of this node, such as
// "station.tree: line 7, node station/logger".
std::string DataTree::DescribePlace() const {
    std::string path = m_name;
    RCPtr<const DataTree> root(this);
    RCPtr<DataTree> parent = GetParentNode();
    for (int names = 1; parent && names < MAX_NAMES_IN_MESSAGE; ++names) {
        path.insert(0, parent->m_name + '/');
        root = parent;
        parent = parent->GetParentNode();
    }
    MemOS place;
    if (const auto* const loaded = dynamic_cast<const LoadedDataTree*>(root.Get())) {
        place << loaded->GetPath() << ": ";
    }
    if (m_line > 0) {
        place << "line " << m_line << ", ";
    }
    place << "node " << (parent ? ".../" : "") << path;
    return place.ToString();
}

bool Imp::ReadBool(std::string_view text, bool& value) noexcept {
    const bool isTrue = text == "true" || text == "1";
    if (!isTrue && text != "false" && text != "0") {
        return false;
    }
    value = isTrue;
    return true;
}

}  // namespace zel
