#include "zel/core/StreamScanner.h"
#include "zel/core/StringUtils.h"
#include "zel/data/DataTree.h"
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

// Reads one document. `source` precedes the position of an error in the exception's info.
class DataTreeReader {
public:
    DataTreeReader(StreamScanner& in, std::string source) : m_in(in), m_source(std::move(source)) {}

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
        m_in.SkipWhite();
        if (StartsString(m_in.Peek())) {
            OpenTag();
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

    void OpenTag() {
        if (!m_open.empty()) {
            m_open.push_back(m_open.back()->AppendUnshared());
            ReadString(m_open.back()->m_name);
            return;
        }
        const StreamScanner::Position position = m_in.GetPosition();
        std::string name;
        ReadString(name);
        if (m_root) {
            ThrowAt(s_log, position, "Tree must be singly rooted");
        }
        m_root = RCPtr<DataTree>::FromUnshared(new DataTree(std::move(name), {}));
        m_open.push_back(m_root.Get());
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
        DataTree& child = *m_open.back()->AppendUnshared();
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
        MemOS text;
        (text << ... << message);
        MemOS info;
        info << m_source << "line " << position.line << ", column " << position.column;
        Raise(place,
              DataTreeEx(text.ToString(), place.area.GetName(), place.line, info.ToString()));
    }

    StreamScanner& m_in;
    const std::string m_source;
    RCPtr<DataTree> m_root;
    std::vector<DataTree*> m_open;
};

RCPtr<DataTree> DataTree::ReadFrom(std::istream& in) {
    StreamScanner scanner(in);
    return DataTreeReader(scanner, {}).Read();
}

RCPtr<DataTree> DataTree::FromString(const std::string& text) {
    StreamScanner scanner{std::string_view(text)};
    return DataTreeReader(scanner, {}).Read();
}

RCPtr<DataTree> DataTree::Load(const char* path) {
    std::error_code ignored;
    std::ifstream in(path);
    if (!in || std::filesystem::is_directory(path, ignored)) {
        Throw<DataTreeEx>(s_log, "Could not open input file ", path);
    }
    StreamScanner scanner(in);
    return DataTreeReader(scanner, std::string(path) + ": ").Read();
}

}  // namespace zel
