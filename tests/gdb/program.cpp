// Objects for the debugger's views to show: it stops in Show and looks at the frame below.

#include "zel/data/DataTable.h"
#include "zel/data/DataTree.h"
#include "zel/foundation/EventSource.h"
#include "zel/foundation/MemOS.h"
#include "zel/variant/Variant.h"

#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

using namespace zel;

namespace {

class Named : public RCObject {
public:
    explicit Named(int number) : m_number(number) {}
    int m_number;
};

class Better : public Named {
public:
    using Named::Named;
};

class Printer : public EventSink<std::string> {
public:
    bool OnEvent(const std::string&) override { return true; }
};

class OwnVariant : public Variant<double> {
public:
    using Variant<double>::Variant;
};

// Memory that never held the object it is taken for, filled with one byte.
template <class T>
class Broken {
public:
    explicit Broken(int byte) { m_memory.fill(static_cast<std::byte>(byte)); }
    const T& Get() const { return *reinterpret_cast<const T*>(m_memory.data()); }

private:
    alignas(T) std::array<std::byte, sizeof(T)> m_memory;
};

struct BrokenObjects {
    explicit BrokenObjects(int byte)
        : pointer(byte), weak(byte), text(byte), number(byte), array(byte), variant(byte),
          tree(byte), table(byte), row(byte), source(byte) {}

    Broken<RCPtr<DataTree>> pointer;
    Broken<WeakPtr<DataTree>> weak;
    Broken<MemOS> text;
    Broken<Variant<float>> number;
    Broken<Variant<std::vector<std::string>>> array;
    Broken<VariantBase> variant;
    Broken<DataTree> tree;
    Broken<DataTable> table;
    Broken<DataRow> row;
    Broken<EventSource<std::string>> source;
};

__attribute__((noinline)) void Show() {
    asm volatile("");
}

RCPtr<DataTree> MakeWideTree() {
    RCPtr<DataTree> wide(new DataTree("wide", ""));
    for (int i = 0; i < 100000; ++i) {
        wide->AppendChild(new DataTree("n", "v"));
    }
    return wide;
}

RCPtr<DataTable> MakeUsers() {
    RCPtr<DataTable> users(new DataTable);
    users->AddField("name");
    users->AddField("shell");
    const std::vector<std::vector<std::string>> rows = {{"ada", "/bin/sh"}, {}, {"a\"b\n", "", "ä"}};
    for (const std::vector<std::string>& cells : rows) {
        const RCPtr<DataRow> row = users->CreateRow();
        row->Assign(cells);
        users->AppendRow(row);
    }
    return users;
}

template <class T>
RCPtr<VariantBase> Make(T value, bool isFixed = false) {
    return new Variant<T>(std::move(value), isFixed);
}

}  // namespace

int main() {
    const RCPtr<Named> none;
    const RCPtr<Named> named(new Better(7));
    const RCPtr<Named> second = named;
    const WeakPtr<Named> weakNone;
    const WeakPtr<Named> weak(named);
    const WeakPtr<Named> gone(RCPtr<Named>(new Named(8)));

    MemOS empty;
    MemOS message;
    message << "Node \"x\" " << 42;
    MemOS longText;
    longText << std::string(5000, '-');

    const Variant<unsigned char> byte(65);
    const Variant<std::string> word("ein Wort");
    const OwnVariant own(0.25);
    const std::vector<RCPtr<VariantBase>> variants = {
        Make<signed char>(-5),
        Make<unsigned short>(65535),
        Make<long long>(-9000000000),
        Make(2.5F),
        Make(0.1),
        Make<std::string>(""),
        Make<std::vector<unsigned char>>({1, 65}),
        Make<std::vector<float>>({1, 2.5F, 3}, true),
        Make<std::vector<std::string>>({"a", "", std::string(30, 'z')}),
        Make<std::vector<int>>({}),
        Make(std::vector<double>(1000000)),
    };
    // Its type is named nowhere in this program.
    const RCPtr<VariantBase> byName = VariantBase::CreateByTypeName("U32[3]");

    const RCPtr<DataTree> leaf(new DataTree("interval", "60"));
    const RCPtr<DataTree> station = DataTree::FromString(R"(["station" ."name" = "Harbour"
        ["logger" ."interval" = "60"] ])");
    const RCPtr<DataTree> wide = MakeWideTree();
    const RCPtr<DataTable> users = MakeUsers();

    EventSource<std::string> quiet;
    EventSource<std::string> changed;
    changed.AddSink(new Printer);
    changed.Connect([](const std::string&) {});

    const BrokenObjects zeros(0x00);
    const BrokenObjects letters(0x41);
    const BrokenObjects ones(0xFF);
    Show();
    return 0;
}
