#include "zel/core/StreamScanner.h"
#include "zel/core/StringUtils.h"
#include "zel/data/DataTree.h"
#include "zel/data/LoadedDataTree.h"
#include "zel/data/StoredLine.h"
#include "zel/foundation/Log.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <utility>
#include <vector>

namespace zel {

namespace {

const LogArea s_log("DataTree", 3);

}  // namespace

// Reads one document. `path` is empty unless it is read from a file.
class DataTreeReader {
public:
    DataTreeReader(StreamScanner& in, std::string path) : m_in(in), m_path(std::move(path)) {}

    RCPtr<DataTree> Read() {
        while (ReadItem()) {
        }
        if (!m_open.empty()) {
            ThrowHere(s_log, "Tag ", m_open.back()->m_name, " not properly closed");
        }
        if (!m_root) {
            ThrowHere(s_log, "No DataTree found in input data");
        }
        return std::move(m_root);
    }

private:
    static constexpr int End = StreamScanner::End;

    static bool StartsString(int character) { return character == '"' || character == '$'; }

    // Returns false at the end of the input. Characters that start no item are skipped.
    bool ReadItem() {
        m_in.SkipWhite();
        switch (m_in.Get()) {
            case End:
                return false;
            case '[':
                ReadTagOrComment();
                return true;
            case '.':
                ReadValueLine();
                return true;
            case ']':
                CloseTag();
                return true;
            default:
                return true;
        }
    }

    void ReadTagOrComment() {
        const std::uint32_t line = StoredLine(m_in.GetLine());
        m_in.SkipWhite();
        if (StartsString(m_in.Peek())) {
            OpenTag(line);
            return;
        }
        switch (m_in.Get()) {
            case End:
                ThrowHere(s_log, "Unexpected end of document");
            case '!':
                SkipComment();
                return;
            default:
                return;
        }
    }

    void OpenTag(std::uint32_t line) {
        if (!m_open.empty()) {
            m_open.push_back(AppendChild(line));
            ReadString(m_open.back()->m_name);
            return;
        }
        const StreamScanner::Position position = m_in.GetPosition();
        std::string name;
        ReadString(name);
        if (m_root) {
            ThrowAt(s_log, position, "Tree must be singly rooted");
        }
        m_root = RCPtr<DataTree>::FromUnshared(m_path.empty()
                                                   ? new DataTree(std::move(name), {})
                                                   : new LoadedDataTree(std::move(name), m_path));
        m_root->m_line = line;
        m_open.push_back(m_root.Get());
    }

    DataTree* AppendChild(std::uint32_t line) {
        DataTree* const child = m_open.back()->AppendUnshared();
        child->m_line = line;
        return child;
    }

    void CloseTag() {
        if (m_open.empty()) {
            ThrowHere(s_log, "Unexpected closing tag");
        }
        m_open.pop_back();
    }

    void ReadValueLine() {
        if (m_open.empty()) {
            ThrowHere(s_log, "Value node can not appear at root level");
        }
        DataTree& child = *AppendChild(StoredLine(m_in.GetLine()));
        ReadString(child.m_name);
        m_in.SkipWhite();
        if (m_in.Get() != '=') {
            ThrowHere(s_log, "Malformed value node ", child.m_name);
        }
        ReadString(child.m_value);
    }

    // Requires: `text` is empty.
    void ReadString(std::string& text) {
        m_in.SkipWhite();
        if (!StartsString(m_in.Peek())) {
            ThrowAt(s_log, m_in.GetPosition(), "String was expected but not found");
        }
        do {
            if (!StringUtils::Decode(m_in, &text)) {
                ThrowHere(s_log, "Malformed string");
            }
            m_in.SkipWhite();
        } while (StartsString(m_in.Peek()));
    }

    // Skips from after "[!" to the bracket that follows at least two dashes.
    void SkipComment() {
        if (m_in.Get() != '-' || m_in.Get() != '-') {
            ThrowHere(s_log, "Malformed comment start sequence");
        }
        int dashes = 0;  // consecutive, at most 2
        for (;;) {
            const int character = m_in.Get();
            if (character == End) {
                ThrowHere(s_log, "Malformed comment");
            }
            if (character == ']' && dashes == 2) {
                return;
            }
            dashes = character == '-' ? std::min(dashes + 1, 2) : 0;
        }
    }

    // Throws an error at the position of the last character read.
    template <class... Parts>
    [[noreturn]] void ThrowHere(LogPlace place, const Parts&... message) {
        ThrowAt(place, m_in.GetPositionOfLast(), message...);
    }

    template <class... Parts>
    [[noreturn]] void ThrowAt(LogPlace place, StreamScanner::Position position,
                              const Parts&... message) {
        MemOS info;
        info << m_path << (m_path.empty() ? "line " : ": line ") << position.line << ", column "
             << position.column;
        ThrowWithInfo<DataTreeEx>(place, info.ToString(), message...);
    }

    StreamScanner& m_in;
    const std::string m_path;
    RCPtr<DataTree> m_root;
    std::vector<DataTree*> m_open;
};

RCPtr<DataTree> DataTree::ReadFrom(std::istream& in) {
    StreamScanner scanner(in);
    return DataTreeReader(scanner, {}).Read();
}

RCPtr<DataTree> DataTree::FromString(const std::string& text) {
    return FromText(text);
}

RCPtr<DataTree> DataTree::FromText(std::string_view text) {
    StreamScanner scanner(text);
    return DataTreeReader(scanner, {}).Read();
}

RCPtr<DataTree> DataTree::Load(const char* path) {
    std::error_code ignored;
    std::ifstream in(path);
    if (!in || std::filesystem::is_directory(path, ignored)) {
        Throw<DataTreeEx>(s_log, "Could not open input file ", path);
    }
    StreamScanner scanner(in);
    return DataTreeReader(scanner, path).Read();
}

}  // namespace zel
