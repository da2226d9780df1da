#include "zel/bridge/CFuncBinder.h"
#include "zel/core/StringUtils.h"
#include "zel/data/DataTable.h"
#include "zel/data/DataTree.h"
#include "zel/foundation/EventSource.h"
#include "zel/foundation/MemOS.h"

#include "tests/faults/Sweep.h"

#include <gtest/gtest.h>

#include <list>
#include <sstream>

namespace zel {
namespace {

using namespace test;

// What a stream holds, unless it tells by its state that it doesn't hold all.
bool TakeText(std::ostringstream& out, std::string& text) {
    if (out.good()) {
        text = out.str();
    }
    return out.good();
}

// Changes that bring something about beside what is there: at first an empty text.
Scenario OfText(std::string name, std::function<bool(std::string&)> make) {
    return On(
        std::move(name), [] { return std::string(); }, std::move(make),
        [](const std::string& text) { return text; });
}

struct Named : RCObject {
    explicit Named(std::string text) : name(std::move(text)) {}
    const std::string name;
};

struct Pointers {
    RCPtr<Named> strong;
    WeakPtr<Named> weak;
};

// A source of two sinks, the second of which goes at the word "end", and the calls that it made.
struct Radio {
    Radio() {
        source.Connect([this](const std::string&) { ++calls; });
        second = source.Connect([this](const std::string& word) {
            ++calls;
            return word != "end";
        });
    }

    std::string GetState() {
        calls = 0;
        source.Fire("word");
        return StringUtils::AsString(calls);
    }

    EventSource<std::string> source;
    RCPtr<EventSink<std::string>> second;
    int calls = 0;
};

Scenario OnRadio(const char* name, std::function<void(Radio&)> change) {
    return On(
        name, [] { return std::make_shared<Radio>(); }, [=](const auto& radio) { change(*radio); },
        [](const auto& radio) { return radio->GetState(); });
}

TEST(AllocationSweepTest, Foundation) {
    Sweep({
        On(
            "objects and weak pointers", [] { return Pointers(); },
            [](Pointers& pointers) {
                const RCPtr<Named> made(new Named(LONG));
                pointers = {made, made};
            },
            [](const Pointers& pointers) {
                const RCPtr<Named> held = pointers.weak.GetRCPtr();
                return held == pointers.strong && held ? held->name : "none";
            }),
        OnRadio(
            "connect",
            [](Radio& radio) { radio.source.Connect([&](const std::string&) { ++radio.calls; }); }),
        OnRadio("subscribe again", [](Radio& radio) { radio.source.AddSink(radio.second); }),
        OnRadio("unsubscribe", [](Radio& radio) { radio.source.RemoveSink(radio.second.Get()); }),
        OnRadio("unsubscribe by a handler", [](Radio& radio) { radio.source.Fire("end"); }),
        OfText("memory stream",
               [](std::string& text) {
                   MemOS out;
                   for (int i = 0; i < 40; ++i) {
                       out << LONG << i;
                   }
                   EXPECT_EQ(out.GetText().substr(0, LONG.size()), LONG);
                   if (out.good()) {
                       text = out.ToString();
                   }
                   return out.good();
               }),
    });
}

using Tree = RCPtr<DataTree>;

const char* const s_document = R"(["station" ."id"="OM-0417" ."name"="Obere Muehle am Lauterbach"
    ["position" ."latitude"="47.61843" ."a name that is too long to stand in itself"="x"]
    ["limits" [""] $00ff$] ."a"="1" ."b"="2" ."c"="3" ."d"="4" ."e"="5" ."f"="6"])";

Scenario OnTree(const char* name, std::function<void(Tree&)> change) {
    return On(
        name, [] { return DataTree::FromString(s_document); }, change,
        [](const Tree& tree) { return tree->ToString(); });
}

TEST(AllocationSweepTest, Trees) {
    Sweep({
        OnTree("set a value", [](Tree& tree) { tree->SetChildValue("id", LONG); }),
        OnTree("set a new value", [](Tree& tree) { tree->SetChildValue(LONG, LONG); }),
        OnTree("delete", [](Tree& tree) { tree->DeleteChild(std::string("position")); }),
        OnTree("clone", [](Tree& tree) { tree = tree->Clone()->GetChild("position")->Clone(); }),
        OnTree("read", [](Tree& tree) { tree = DataTree::FromString("[\"a\".\"b\"=\"c\"]"); }),
        OnTree("read a stream",
               [](Tree& tree) {
                   std::istringstream in("[\"a\".\"b\"=\"c\"]");
                   tree = DataTree::ReadFrom(in);
               }),
        OnTree("refuse",
               [](Tree& tree) {
                   EXPECT_THROW(DataTree::FromString(R"(["a"."b"])"), std::exception);
                   tree = new DataTree(LONG, "");
               }),
        OfText("write",
               [](std::string& text) {
                   std::ostringstream out;
                   DataTree::FromString(s_document)->WriteTo(out, 0);
                   return TakeText(out, text);
               }),
        On(
            "list the children",
            [] { return std::list<Tree>{DataTree::FromString(R"(["r"["a"]["b"]["a"]["a"]])")}; },
            [](auto& list) { list.front()->GetChildren("a", &list); },
            [](const auto& list) { return StringUtils::AsString(list.size()); }),
    });
}

using Table = RCPtr<DataTable>;

std::string TextOf(const Table& table) {
    std::ostringstream out;
    table->WriteToCSV(out, '\t');
    return out.str();
}

Table MakeTable(const char* text) {
    Table table(new DataTable);
    std::istringstream in(text);
    table->ReadFromCSV(in, "\t", true, true, false, false);
    return table;
}

Scenario OnTable(const char* name, std::function<void(Table&)> change) {
    return On(
        name, [] { return MakeTable("id\tname\n1001\tObere Muehle am Lauterbach\n"); }, change,
        TextOf);
}

TEST(AllocationSweepTest, Tables) {
    Sweep({
        OnTable("add a field", [](Table& table) { table->AddField(LONG); }),
        OnTable("read",
                [](Table& table) { table = MakeTable("a\tb\n1\t2\nlong enough not to fit\t4\n"); }),
        OnTable("append a row",
                [](Table& table) {
                    const RCPtr<DataRow> row = table->CreateRow();
                    row->Assign({LONG, LONG});
                    table->AppendRow(row);
                }),
        OnTable("set a cell", [](Table& table) { table->GetRow(0)->SetField("name", LONG); }),
        OnTable("widen a row", [](Table& table) { table->GetRow(0)->SetFieldCount(7, LONG); }),
        OfText("write",
               [](std::string& text) {
                   std::ostringstream out;
                   MakeTable("a\tb\n1\t2\n")->WriteToCSV(out, ',');
                   return TakeText(out, text);
               }),
    });
}

// The rows ahead of the failure are there, each of them whole.
TEST(AllocationSweepTest, ATableKeepsTheRowsAheadOfAFailure) {
    std::string text;
    for (int i = 0; i < 40; ++i) {
        text += LONG + "\tx\n";
    }
    std::size_t rows = 0;
    for (long step = 0; rows < 40; ++step) {
        const Table table(new DataTable);
        std::istringstream in(text);
        FailAllocationsAfter(step);
        try {
            table->ReadFromCSV(in, "\t", true, false, false, false);
        } catch (const std::bad_alloc&) {
            EXPECT_GE(table->GetRowCount(), rows);
        }
        FailAllocationsAfter(-1);
        rows = table->GetRowCount();
        const std::string written = TextOf(table);
        EXPECT_EQ(written.size(), rows * (LONG.size() + 4));
    }
}

struct Registry {
    Registry() { CBinder::Prepare(); }
    ~Registry() { CBinder::Release(); }
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;
};

char keyOfText = 0;
char otherKey = 0;

void RegisterText(const std::string& text, char* key) {
    RegisterFunction(key, [=](std::string* result) { *result += text; });
}

TEST(AllocationSweepTest, Bridge) {
    const auto onRegistry = [](const char* name, auto change) {
        const auto make = [] {
            auto registry = std::make_unique<Registry>();
            RegisterText("before", &keyOfText);
            return registry;
        };
        const auto state = [](const auto&) {
            std::string text;
            ZelCppBridge(&keyOfText, &text);
            ZelCppBridge(&otherKey, &text);
            return text;
        };
        return On(
            name, make, [=](const auto&) { change(); }, state);
    };
    Sweep({
        onRegistry("register", [] { RegisterText(LONG, &otherKey); }),
        onRegistry("register in place of another", [] { RegisterText(LONG, &keyOfText); }),
        OfText("prepare",
               [](std::string& text) {
                   const Registry registry;
                   RegisterText(LONG, &keyOfText);
                   ZelCppBridge(&keyOfText, &text);
                   return true;
               }),
    });
}

}  // namespace
}  // namespace zel
