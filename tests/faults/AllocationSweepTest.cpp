#include "zel/bridge/CFuncBinder.h"
#include "zel/commands/CommandProcessor.h"
#include "zel/commands/TimerEventThread.h"
#include "zel/core/LogSink.h"
#include "zel/core/StringUtils.h"
#include "zel/data/DataTable.h"
#include "zel/data/DataTree.h"
#include "zel/foundation/EventSource.h"
#include "zel/foundation/MemOS.h"
#include "zel/persistence/BinaryUtils.h"

#include "tests/faults/Sweep.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <list>
#include <sstream>

namespace zel {
namespace {

using namespace test;

// Runs `make` on an empty string; its state is its text.
Scenario OnText(std::string name, std::function<bool(std::string&)> make) {
    return On(
        std::move(name), [] { return std::string(); }, std::move(make),
        [](const std::string& text) { return text; });
}

// Writes to a standard stream, which reports a failed allocation by its state.
Scenario OnStream(std::string name, std::function<void(std::ostream&)> write) {
    return OnText(std::move(name), [=](std::string& text) {
        std::ostringstream out;
        write(out);
        text = out.good() ? out.str() : text;
        return out.good();
    });
}

// A source of two sinks, the second of which disconnects at "end". The state is the number of calls
// per event.
struct Radio {
    Radio() {
        source.Connect(count);
        source.Connect([this](const std::string& word) {
            ++calls;
            return word != "end";
        });
    }

    EventSource<std::string> source;
    int calls = 0;
    std::function<void(const std::string&)> count = [this](const std::string&) { ++calls; };
    std::vector<ScopedConnection> connections;
};

Scenario OnRadio(const char* name, std::function<void(Radio&)> change) {
    return On(
        name, [] { return std::make_shared<Radio>(); }, [=](const auto& radio) { change(*radio); },
        [](const auto& radio) {
            radio->calls = 0;
            radio->source.Fire("word");
            return StringUtils::AsString(radio->calls);
        });
}

void WriteLog(const TemporaryFolder& folder, const std::string& text) {
    RCPtr<LogSink>(new RotatingFileLogSink(folder / "log", 1, 1))
        ->Write({2, "Area", 1, text, {}, 42});
}

TEST(AllocationSweepTest, Core) {
    Sweep({On(
        "rotate a log file",
        [] {
            const auto folder = std::make_shared<TemporaryFolder>();
            WriteLog(*folder, "before");
            return folder;
        },
        [](const auto& folder) { WriteLog(*folder, LONG); },
        [](const auto& folder) {
            std::ifstream in(*folder / "log");
            return std::string(std::istreambuf_iterator<char>(in), {});
        })});
}

struct Queue : CommandProcessor {
    void PostCommand(RCPtr<Command> command) override { commands.push_back(std::move(command)); }

    std::list<RCPtr<Command>> commands;
};

Scenario OnQueue(const char* name, std::function<void(Queue&)> post) {
    return On(
        name, [] { return RCPtr<Queue>(new Queue); }, [=](const auto& queue) { post(*queue); },
        [](const auto& queue) { return std::to_string(queue->commands.size()); });
}

TEST(AllocationSweepTest, CommandsAndTimers) {
    Sweep({
        OnQueue("post a lambda", [](Queue& queue) { queue.Post([text = LONG] {}); }),
        OnQueue("post for a result",
                [](Queue& queue) { queue.PostForResult([text = LONG] { return text; }); }),
        OnQueue("post a member",
                [](Queue& queue) {
                    queue.Post(RCPtr<Queue>(&queue), &Queue::PostCommand, RCPtr<Command>());
                }),
        On(
            "arm a timer", [] { return RCPtr<TimerEventThread>(new TimerEventThread); },
            [](const auto& timers) { timers->AddTimer(new CallbackTimer(1000, [] {})); },
            [](const auto& timers) { return std::to_string(timers->GetAmountToWait() > 0); }),
    });
}

TEST(AllocationSweepTest, Foundation) {
    Sweep({
        OnRadio("connect", [](Radio& radio) { radio.source.Connect(radio.count); }),
        OnRadio("connect scoped",
                [](Radio& radio) {
                    radio.connections.push_back(radio.source.ConnectScoped(radio.count));
                }),
        OnRadio("disconnect from a handler", [](Radio& radio) { radio.source.Fire("end"); }),
        OnText("memory stream",
               [](std::string& text) {
                   MemOS out;
                   for (int i = 0; i < 40; ++i) {
                       out << LONG << i;
                   }
                   EXPECT_EQ(out.GetText().substr(0, LONG.size()), LONG);
                   text = out.good() ? out.ToString() : text;
                   return out.good();
               }),
    });
}

using Tree = RCPtr<DataTree>;

const char* const s_document = R"(["station" ."id"="OM-0417" ."name"="Obere Muehle am Lauterbach"
    ["position" ."latitude"="47.61843" ."a name too long for the small-string optimization"="x"]
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
        OnTree("set a default",
               [](Tree& tree) { tree->SetChildValue("a", tree->GetChildValueOr({"none"}, LONG)); }),
        OnTree("delete", [](Tree& tree) { tree->DeleteChild(std::string("position")); }),
        OnTree("clone", [](Tree& tree) { tree = tree->Clone()->GetChild("position")->Clone(); }),
        OnTree("reject",
               [](Tree& tree) {
                   EXPECT_THROW(DataTree::FromString(R"(["a"."b"])"), std::exception);
                   EXPECT_THROW(tree->GetChildValueAs<int>({"position", "none"}), std::exception);
                   tree = new DataTree(LONG, "");
               }),
        OnStream("read and write",
                 [](std::ostream& out) { DataTree::FromString(s_document)->WriteTo(out, 0); }),
        On(
            "save", [] { return std::make_shared<TemporaryFolder>(); },
            [](const auto& folder) { Tree(new DataTree(LONG, ""))->Save(*folder / "tree"); },
            [](const auto& folder) {
                const std::filesystem::directory_iterator files(*folder / "");
                return begin(files) == end(files)
                           ? "nothing"
                           : DataTree::Load((*folder / "tree").c_str())->ToString();
            }),
        On(
            "list the children",
            [] { return std::list<Tree>{DataTree::FromString(R"(["r"["a"]["b"]["a"]["a"]])")}; },
            [](auto& list) { list.front()->GetChildren("a", &list); },
            [](const auto& list) { return StringUtils::AsString(list.size()); }),
    });
}

TEST(AllocationSweepTest, Packing) {
    std::ostringstream out;
    BinaryUtils::DataPacker(&out, false).Insert(LONG);
    Sweep({OnText("extract a string", [data = out.str()](std::string& text) {
        BinaryUtils::DataUnpacker unpacker(data, false);
        try {
            unpacker.Extract(&text);
        } catch (const std::bad_alloc&) {
            unpacker.VerifySize(static_cast<unsigned int>(data.size()));
            throw;
        }
        return true;
    })});
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
        OnTable("reject a cell",
                [](Table& table) {
                    EXPECT_THROW(table->GetRow(0)->GetFieldAs<int>("name"), std::exception);
                    table->AddField(table->GetRow(0)->GetFieldAs<std::string>("name"));
                }),
        OnTable("add a field", [](Table& table) { table->AddField(LONG); }),
        OnTable("append a row",
                [](Table& table) {
                    const RCPtr<DataRow> row = table->CreateRow();
                    row->Assign({LONG, LONG});
                    table->AppendRow(row);
                }),
        OnTable("widen a row", [](Table& table) { table->GetRow(0)->SetFieldCount(7, LONG); }),
        OnStream("read and write",
                 [](std::ostream& out) {
                     MakeTable("a\tb\n1\tlong enough not to fit\n")->WriteToCSV(out, ',');
                 }),
    });
}

TEST(AllocationSweepTest, ATableKeepsTheWholeRowsBeforeAFailure) {
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
        EXPECT_EQ(TextOf(table).size(), rows * (LONG.size() + 4));
    }
}

char keyOfText = 0;
char otherKey = 0;

void RegisterText(const std::string& text, char* key) {
    RegisterFunction(key, [=](std::string* result) { *result += text; });
}

std::shared_ptr<void> MakeRegistry() {
    CBinder::Prepare();
    const std::shared_ptr<void> registry(nullptr, [](void*) { CBinder::Release(); });
    RegisterText(LONG + "before", &keyOfText);
    return registry;
}

TEST(AllocationSweepTest, Bridge) {
    const auto onRegistry = [](const char* name, char* key) {
        const auto state = [](const auto&) {
            std::string text;
            ZelCppBridge(&keyOfText, &text);
            ZelCppBridge(&otherKey, &text);
            return text;
        };
        return On(
            name, MakeRegistry, [=](const auto&) { RegisterText(LONG, key); }, state);
    };
    Sweep({
        onRegistry("register", &otherKey),
        onRegistry("replace", &keyOfText),
        OnText("prepare",
               [](std::string& text) {
                   const auto registry = MakeRegistry();
                   ZelCppBridge(&keyOfText, &text);
                   return true;
               }),
    });
}

}  // namespace
}  // namespace zel
