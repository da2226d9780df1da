#include "Store.h"

#include "zel/foundation/MemOS.h"
#include "zel/persistence/ObjectPersistence.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

using zel::MemOS;
using zel::Variant;
namespace fs = std::filesystem;
namespace ObjectPersistence = zel::ObjectPersistence;

namespace {

constexpr int VERSION = 1;
constexpr std::uint64_t VERSION_SIZE = 4;

using Count = Variant<unsigned long long>;
using Visit = std::function<void(const Record&)>;

bool ReadCount(std::istream& in, std::uint64_t& count) {
    Count value;
    const bool isRead = value.ReadValueFromStream(in);
    count = value.GetValue();
    return isRead;
}

struct BatchHeader {
    Source source;
    std::uint64_t records = 0;
};

BatchHeader ReadHeader(std::istream& in) {
    Variant<std::string> name;
    Variant<long long> writeTime;
    std::uint64_t records = 0;
    if (!name.ReadValueFromStream(in) || !writeTime.ReadValueFromStream(in) ||
        !ReadCount(in, records)) {
        ObjectPersistence::ThrowEx("A batch of the store has no header");
    }
    return {{name.GetValue(), writeTime.GetValue()}, records};
}

void ReadRecords(std::istream& in, std::uint64_t count, const Record& prototypes,
                 const Visit& visit) {
    for (; count > 0; --count) {
        Record record;
        for (const auto& prototype : prototypes) {
            record.push_back(prototype->Clone());
            if (!record.back()->ReadValueFromStream(in)) {
                ObjectPersistence::ThrowEx(
                    "A batch of the store has fewer values than its header says");
            }
        }
        visit(record);
    }
}

// Calls `take` with each complete batch and returns the offset of the end of the last one. The file
// is empty if a program was killed before it wrote the first byte.
template <class Take>
std::uint64_t ReadBatches(const std::string& path, Take take) {
    std::ifstream in(path, std::ios_base::binary);
    const std::uint64_t size = in ? fs::file_size(path) : 0;
    if (size < VERSION_SIZE) {
        return 0;
    }
    if (ObjectPersistence::BinaryPersistenceReader(&in).ReadVersion() != VERSION) {
        ObjectPersistence::ThrowEx("The store has an unknown layout");
    }
    std::uint64_t end = VERSION_SIZE;
    std::uint64_t length = 0;
    while (size - end >= sizeof length && ReadCount(in, length) &&
           length <= size - end - sizeof length) {
        std::string bytes(length, '\0');
        in.read(bytes.data(), static_cast<std::streamsize>(length));
        std::istringstream batch(bytes);
        take(batch);
        end += sizeof length + length;
    }
    return end;
}

}  // namespace

Store::Store(std::string path, Record prototypes)
    : m_path(std::move(path)), m_prototypes(std::move(prototypes)) {
    m_size = ReadBatches(m_path, [this](std::istream& in) {
        BatchHeader header = ReadHeader(in);
        m_lastSource = std::move(header.source);
        m_recordCount += header.records;
    });
    if (m_size == 0) {
        std::ofstream out(m_path, std::ios_base::binary);
        ObjectPersistence::WriteVersion(out, VERSION);
        m_size = VERSION_SIZE;
    }
    fs::resize_file(m_path, m_size);
}

void Store::Append(const Batch& batch) {
    MemOS block;
    Variant<std::string>(batch.source.name).WriteValueToStream(block);
    Variant<long long>(batch.source.writeTime).WriteValueToStream(block);
    Count(batch.records.size()).WriteValueToStream(block);
    for (const Record& record : batch.records) {
        for (const auto& value : record) {
            value->WriteValueToStream(block);
        }
    }
    MemOS whole;
    const auto length = static_cast<unsigned long long>(block.GetLength());
    Count(length).WriteValueToStream(whole);
    whole.write(block.GetData(), block.GetLength());
    std::ofstream out(m_path, std::ios_base::binary | std::ios_base::app);
    out.write(whole.GetData(), whole.GetLength());
    if (!block || !whole || !out.flush()) {
        out.close();
        fs::resize_file(m_path, m_size);
        throw std::runtime_error("Unable to write to " + m_path);
    }
    m_size += sizeof length + length;
    m_lastSource = batch.source;
    m_recordCount += batch.records.size();
}

void Store::Read(const std::string& path, const Record& prototypes, const Visit& visit) {
    ReadBatches(path, [&](std::istream& in) {
        const BatchHeader header = ReadHeader(in);
        ReadRecords(in, header.records, prototypes, visit);
    });
}
