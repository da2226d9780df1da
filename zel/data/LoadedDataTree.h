#pragma once

#include "zel/data/DataTree.h"

#include <utility>

namespace zel {

// The root of a document that was loaded from a file. A class of its own, so that the other nodes
// don't need room for a path.
class LoadedDataTree final : public DataTree {
public:
    LoadedDataTree(std::string name, std::string path)
        : DataTree(std::move(name), {}), m_path(std::move(path)) {}

    const std::string& GetPath() const noexcept { return m_path; }

private:
    const std::string m_path;
};

}  // namespace zel
