#include "zel/core/LineReader.h"

#include <algorithm>

namespace zel {

LineReader::Result LineReader::Read(std::string_view* line, bool keepLineFeed) {
    *line = {};
    if (m_scanner.Peek() == StreamScanner::End) {
        // Reading past the end sets failbit, which callers' loops test.
        m_scanner.Get();
        return Result::End;
    }
    std::size_t used = 0;
    bool isWhole = false;
    while (!isWhole && m_scanner.Peek() != StreamScanner::End) {
        const std::string_view run = m_scanner.GetRun();
        const std::size_t feed = run.find('\n');
        isWhole = feed != std::string_view::npos;
        const std::string_view part = isWhole ? run.substr(0, feed + (keepLineFeed ? 1 : 0)) : run;
        const std::size_t fits = std::min(part.size(), m_limit - used);
        if (isWhole && used == 0 && fits == part.size()) {
            *line = part;
            m_scanner.Skip(feed + 1);
            return Result::Line;
        }
        std::copy_n(part.data(), fits, m_block + used);
        used += fits;
        *line = {m_block, used};
        m_scanner.Skip(fits);
        if (fits < part.size()) {
            return Result::TooLong;
        }
        m_scanner.Skip(isWhole && !keepLineFeed ? 1 : 0);
    }
    return Result::Line;
}

}  // namespace zel
