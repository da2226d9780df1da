#include "Settings.h"

#include "zel/core/StringUtils.h"
#include "zel/data/DataTree.h"

#include <list>

using zel::DataTree;
using zel::RCPtr;

namespace {

double ReadSeconds(const DataTree& node, const std::string& name) {
    const std::string text = node.GetChildValue(name);
    double seconds = 0;
    if (!zel::StringUtils::FromString(text, seconds, 0)) {
        zel::StringUtils::ThrowEx(name + ": '" + text + "' is no number");
    }
    return seconds;
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
        columns.push_back({child->GetName(), child->GetValue()});
    }
    return columns;
}

}  // namespace

Settings Settings::Load(const char* path) {
    const RCPtr<DataTree> root = DataTree::Load(path);
    Settings settings;
    settings.dropFolder = root->GetChildValue("drop");
    settings.doneFolder = root->GetChildValue("done");
    settings.rejectedFolder = root->GetChildValue("rejected");
    settings.storeFile = root->GetChildValue("store");
    settings.logFile = root->GetChildValue("log");
    root->GetChildValue("plugin", &settings.plugin);
    settings.settleSeconds = ReadSeconds(*root, "settle seconds");
    settings.columns = ReadColumns(*root);
    return settings;
}
