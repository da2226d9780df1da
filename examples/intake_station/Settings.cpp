#include "Settings.h"

#include "zel/data/DataTree.h"
#include "zel/variant/VariantBase.h"

#include <exception>
#include <stdexcept>

using zel::DataTree;
using zel::RCPtr;

namespace {

Column ReadColumn(const DataTree& node) {
    Column column{node.GetName(), node.GetValue()};
    try {
        zel::VariantBase::CreateByTypeName(column.type);
    } catch (const std::exception& ex) {
        throw std::runtime_error("line " + std::to_string(node.GetLine()) + ": column " +
                                 column.name + ": " + ex.what());
    }
    return column;
}

std::vector<Column> ReadColumns(const DataTree& node) {
    const RCPtr<DataTree> list = node.GetChild("columns");
    if (!list) {
        throw zel::DataTreeEx("Node columns not found", "Settings", __LINE__);
    }
    std::vector<Column> columns;
    for (const RCPtr<DataTree>& child : *list) {
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
    settings.plugin = root.GetChildValueOr("plugin", "");
    settings.settleSeconds = root.GetChildValueAs<double>("settle seconds");
    settings.columns = ReadColumns(root);
    return settings;
}

}  // namespace

Settings Settings::Load(const char* path) {
    const RCPtr<DataTree> root = DataTree::Load(path);
    try {
        return Read(*root);
    } catch (const zel::DataTreeEx&) {
        throw;
    } catch (const std::exception& ex) {
        throw std::runtime_error(std::string(path) + ": " + ex.what());
    }
}
