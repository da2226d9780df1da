#include "zel/core/StringUtils.h"
#include "zel/data/BlockWriter.h"
#include "zel/data/DataTree.h"
#include "zel/data/SaveFile.h"
#include "zel/foundation/Log.h"
#include "zel/foundation/MemOS.h"

#include <new>
#include <ostream>
#include <vector>

namespace zel {

namespace {

const LogArea s_log("DataTree", 3);

}  // namespace

// Writes the text form iteratively, so that a deep tree needs constant stack.
class DataTreeWriter {
public:
    DataTreeWriter(std::ostream& out, int level)
        : m_out(out),
          m_text(m_out.GetText()),
          m_isCompact(level < 0),
          m_level(m_isCompact ? 0 : std::size_t(level)) {}

    void Write(const DataTree& root) {
        Begin(root);
        while (!m_open.empty()) {
            OpenTag& tag = m_open.back();
            if (tag.next < tag.node->m_children.size()) {
                if (const DataTree* const child = tag.node->m_children[tag.next++].Get()) {
                    Begin(*child);
                }
            } else {
                m_open.pop_back();
                Indent();
                EndItem(']');
            }
        }
        m_out.Flush();
    }

private:
    static constexpr std::size_t SPACES_PER_LEVEL = 3;

    struct OpenTag {
        const DataTree* node;
        std::size_t next;
    };

    // Writes a value line or an empty tag, or opens a tag with children.
    void Begin(const DataTree& node) {
        const bool isLeaf = node.m_children.empty();
        const bool isValueLine = isLeaf && !node.m_value.empty();
        Indent();
        m_text += isValueLine ? '.' : '[';
        StringUtils::Encode(node.m_name, m_text);
        if (isValueLine) {
            m_text += '=';
            StringUtils::Encode(node.m_value, m_text);
            EndLine();
        } else if (isLeaf) {
            EndItem(']');
        } else {
            EndLine();
            m_open.push_back({&node, 0});
        }
    }

    void Indent() {
        if (!m_isCompact) {
            m_text.append(SPACES_PER_LEVEL * (m_level + m_open.size()), ' ');
        }
    }

    void EndItem(char mark) {
        m_text += mark;
        EndLine();
    }

    void EndLine() {
        if (!m_isCompact) {
            m_text += '\n';
        }
        m_out.EndItem();
    }

    BlockWriter m_out;
    std::string& m_text;
    const bool m_isCompact;
    const std::size_t m_level;
    std::vector<OpenTag> m_open;
};

void DataTree::WriteTo(std::ostream& out, int level) const {
    DataTreeWriter(out, level).Write(*this);
}

std::string DataTree::ToString() const {
    MemOS text;
    WriteTo(text, 0);
    if (!text) {
        throw std::bad_alloc();
    }
    return text.ToString();
}

void DataTree::Save(const std::string& path) const {
    const std::string error = SaveFile(path, [this](std::ostream& out) { WriteTo(out, 0); });
    if (!error.empty()) {
        Throw<DataTreeEx>(s_log, "Could not save ", path, ": ", error);
    }
}

}  // namespace zel
