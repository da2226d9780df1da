#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zel::bench {

using PlainRows = std::vector<std::vector<std::string>>;

// A temporary file with a number of rows of ten cells, each followed by a comma, removed with the
// object. Cells have 1 to 23 characters and are deterministic; there is no header.
class RowsFile {
public:
    static constexpr std::size_t CELLS = 10;

    explicit RowsFile(std::size_t rows);
    ~RowsFile();
    RowsFile(const RowsFile&) = delete;
    RowsFile& operator=(const RowsFile&) = delete;

    const std::string& GetPath() const { return m_path; }
    std::string GetText() const;

private:
    std::string m_path;
};

}  // namespace zel::bench
