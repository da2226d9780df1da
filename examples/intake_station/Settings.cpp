#include "Settings.h"

#include "zel/core/StringUtils.h"
#include "zel/data/DataTree.h"
#include "zel/variant/VariantBase.h"

#include <exception>
#include <list>
#include <stdexcept>

using zel::DataTree;
using zel::RCPtr;

namespace {

double ReadSeconds(const DataTree& node, const std::string& name) {
    const std::string text = node.GetChildValue(name);
    double seconds = 0;
    if (!zel::StringUtils::FromString(text, seconds, 0)) {
        zel::StringUtils::ThrowEx(name + ": '" + text + "' is not a number");
    }
    return seconds;
}

Column ReadColumn(const DataTree& node) {
    Column column{node.GetName(), node.GetValue()};
    try {
        zel::VariantBase::CreateByTypeName(column.type);
    } catch (const std::exception& ex) {
        throw std::runtime_error("column " + column.name + ": " + ex.what());
    }
    return column;
}

std::vector<Column> ReadColumns(const DataTree& node) {
    const RCPtr<DataTree> list = node.GetChild("columns");
    if (!list) {
        throw zel::DataTreeEx("Node columns not found", "Settings", __LINE__);
    }
    std::list<RCPtr<DataTree>> children;
    list->GetChildren(&children);
    std::vector<Column> columns;
    for (const RCPtr<DataTree>& child : children) {
        columns.push_back(ReadColumn(*child));
    }
    return columns;
}

Settings Read(const DataTree& root) {
    Settings settings;
    settings.dropFolder = root.GetChildValue("drop");
    settings.doneFolder = root.GetChildValue("done");
    settings.rejectedFolder = root.GetChildValue("rejected");
    settings.storeFile = root.GetChildValue("store");
    settings.logFile = root.GetChildValue("log");
    root.GetChildValue("plugin", &settings.plugin);
    settings.settleSeconds = ReadSeconds(root, "settle seconds");
    settings.columns = ReadColumns(root);
    return settings;
}

}  // namespace

Settings Settings::Load(const char* path) {
    const RCPtr<DataTree> root = DataTree::Load(path);
    try {
        return Read(*root);
    } catch (const std::exception& ex) {
        throw std::runtime_error(std::string(path) + ": " + ex.what());
    }
}
