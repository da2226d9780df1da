// Objects for the debugger's views. The debugger stops in Stop and inspects its caller.

#include "zel/data/DataTable.h"
#include "zel/data/DataTree.h"
#include "zel/foundation/EventSource.h"
#include "zel/foundation/Log.h"
#include "zel/foundation/MemOS.h"
#include "zel/variant/Variant.h"

#include <string>
#include <utility>
#include <vector>

using namespace zel;

namespace {

struct Base : RCObject {
    int m_number = 7;
};

struct Derived : Base {
    int m_extra = 8;
};

struct Printer : EventSink<std::string> {
    bool OnEvent(const std::string&) override { return true; }
};

struct Listener {
    void operator()(const std::string&) const {}
};

struct OwnVariant : Variant<double> {
    using Variant<double>::Variant;
};

__attribute__((noinline)) void Stop() {
    asm volatile("");
}

// Returns a tree with an index, whose list of children contains a null pointer.
RCPtr<DataTree> MakeWideTree() {
    RCPtr<DataTree> wide(new DataTree("wide", "v"));
    for (int i = 0; i <= 100000; ++i) {
        wide->AppendChild(new DataTree("n", "v"));
    }
    wide->DeleteChild("n");
    return wide;
}

RCPtr<DataTree> MakeDeepTree() {
    RCPtr<DataTree> deep(new DataTree("100000", ""));
    for (int i = 100000; i-- > 0;) {
        const RCPtr<DataTree> parent(new DataTree(std::to_string(i), ""));
        parent->AppendChild(deep);
        deep = parent;
    }
    return deep;
}

RCPtr<DataTable> MakeUsers() {
    RCPtr<DataTable> users(new DataTable);
    users->AddField("name");
    users->AddField("shell");
    const std::vector<std::vector<std::string>> rows = {{"ada", "/bin/sh"}, {}, {"a\"b"}};
    for (const std::vector<std::string>& cells : rows) {
        const RCPtr<DataRow> row = users->CreateRow();
        row->Assign(cells);
        users->AppendRow(row);
    }
    return users;
}

template <class T>
RCPtr<VariantBase> Make(T value) {
    return new Variant<T>(std::move(value));
}

}  // namespace

int main() {
    const RCPtr<DataTree> none;
    const RCPtr<DataTree> leaf(new DataTree("interval", "60"));
    const RCPtr<DataTree> second = leaf;
    const RCPtr<Base> derived(new Derived);
    const WeakPtr<DataTree> weakNone;
    const WeakPtr<DataTree> weak(leaf);
    const WeakPtr<DataTree> expired(RCPtr<DataTree>(new DataTree("expired", "")));

    MemOS empty;
    MemOS message;
    message << "Node \"x\"\t" << 42 << "\x01\xFF\xC3\xA4";
    MemOS longText;
    longText << std::string(5000, '-');

    const Variant<unsigned char> byte(65);
    const Variant<std::string> word("a word");
    const OwnVariant own(0.25);
    const RCPtr<VariantBase> byName = VariantBase::CreateByTypeName("U32[3]");
    const std::vector<RCPtr<VariantBase>> variants = {
        Make<signed char>(-5),
        Make<unsigned short>(65535),
        Make<long long>(-9000000000),
        Make(2.5F),
        Make(std::string()),
        Make(std::vector<unsigned char>{1, 65}),
        Make(std::vector<std::string>{"a", "", "z\n"}),
        Make(std::vector<int>()),
        Make(std::vector<double>(1000000, 0.5)),
    };

    const RCPtr<DataTree> station =
        DataTree::FromString(R"(["station" ."name" = "Harbour" ["logger" ."interval" = "60"]])");
    const RCPtr<DataTree> wide = MakeWideTree();
    const RCPtr<DataTree> deep = MakeDeepTree();
    const RCPtr<DataTable> users = MakeUsers();

    EventSource<std::string> quiet;
    EventSource<std::string> changed;
    changed.AddSink(new Printer);
    changed.Connect(Listener());

    const Exception problem("Exception", "No \"name\"", "Reader.cpp", 12);
    const DataTreeEx treeProblem("Not found", "DataTree", 7);
    Logger::StartOnStandardError(5);
    const LogArea area("Harbour", -1);
    const LogArea ownArea("Pier", 2);

    const std::vector<unsigned char> garbage(sizeof(DataTree), 0xFF);
    Stop();
    return 0;
}
