// Packs the readings in tables that appear in a folder: a whole program. Enter ends it.

#include "zel/bridge/CFuncBinder.h"
#include "zel/commands/ThreadCommandProcessor.h"
#include "zel/commands/TimerThread.h"
#include "zel/crashd/CrashHandler.h"
#include "zel/data/DataTable.h"
#include "zel/data/DataTree.h"
#include "zel/foundation/Log.h"
#include "zel/persistence/BinaryUtils.h"
#include "zel/persistence/ObjectPersistence.h"
#include "zel/variant/Variant.h"
#include "zel/watch/SettledFiles.h"

#include "../intake_station/Plugin.h"
#include "checks.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>

using namespace zel;
namespace fs = std::filesystem;

namespace {

const LogArea s_log("Gateway", 4);

// After its construction one thread uses it, that of the commands, so it has no lock.
class Gateway : public RCObject {
public:
    explicit Gateway(const RCPtr<DataTree>& settings)
        : m_settings(settings), m_outbox(settings->GetChildValue("outbox")) {
        fs::create_directories(m_outbox);
        RegisterFunction(this, [this](const char* key, Check* check) { m_checks[key] = check; });
        void* const install = LoadFunction(settings->GetChildValue("plugin"), "InstallChecks");
        reinterpret_cast<void (*)(void*)>(install)(this);
    }

    // A table stays in the inbox if it has an error. Its packed form is complete when it is closed.
    void Take(std::string path) {
        try {
            const RCPtr<DataTable> table = DataTable::Load(path, ",", true, true, false, false);
            MemOS packed;
            Pack(*table, packed);
            std::ofstream out(m_outbox / fs::path(path).stem(), std::ios_base::binary);
            out.exceptions(std::ios_base::badbit | std::ios_base::failbit);
            out << packed.ToString();
            out.close();
            fs::remove(path);
            ++m_tables;
        } catch (...) {
            Log(s_log, 2, path, ": ", DescribeCurrentException());
        }
    }

    void Report(TimerThread* const&) { Log(s_log, 4, m_tables, " tables packed"); }

private:
    void Pack(const DataTable& table, std::ostream& out) const {
        ObjectPersistence::WriteVersion(out, 1);
        BinaryUtils::DataPacker packer(&out, false);
        for (const RCPtr<DataRow>& row : table) {
            const std::string name = row->GetField("register");
            const auto number = row->GetFieldAs<double>("value");
            const auto type = m_settings->GetChildValueAs<std::string>({"registers", name});
            const RCPtr<VariantBase> value = VariantBase::CreateByTypeName(type);
            if (!value->SetValueIfExact(number)) {
                Throw<DataTableEx>(s_log, "Line ", row->GetLine(), ": ", number, " is no ", type);
            }
            if (!m_checks.contains(name) || m_checks.at(name)(number) != 0) {
                packer.Insert(name);
                packer.Insert(value->GetValueAs<std::string>());
            }
        }
    }

    const RCPtr<DataTree> m_settings;
    const fs::path m_outbox;
    std::map<std::string, Check*> m_checks;
    std::size_t m_tables = 0;
};

void Serve(const RCPtr<DataTree>& settings) {
    CBinder::Prepare();
    const RCPtr<Gateway> gateway(new Gateway(settings));
    const RCPtr<ThreadCommandProcessor> commands(new ThreadCommandProcessor("Gateway"));
    const RCPtr<SettledFiles> files(
        new SettledFiles(settings->GetChildValue("inbox").c_str(), true, false, 0.2));
    const auto taken = files->FileSettled.ConnectScoped(
        [&](const std::string& path) { commands->Post(gateway, &Gateway::Take, path); });
    const double seconds = settings->GetChildValueOr({"report", "seconds"}, 60.0);
    const RCPtr<TimerThread> ticks(new TimerThread(commands, seconds, 1, TimerThread::FOREVER));
    ticks->GetEvent().Connect(gateway, &Gateway::Report);
    files->Start();
    ticks->Start();
    std::cin.get();
    files->RequestStop();
    files->Join();
    ticks->RequestStop();
    ticks->Join();
    commands->Stop();
    CBinder::Release();
}

}  // namespace

int main(int argc, char** argv) {
    CrashHandler::Initialize(argc, argv, CrashHandler::ReportToFile("gateway-crash-"));
    Logger::StartOnStandardError(4);
    try {
        Serve(DataTree::Load(argc > 1 ? argv[1] : "settings.tree"));
    } catch (...) {
        std::cerr << "gateway: " << DescribeCurrentException() << '\n';
        return 1;
    }
}
