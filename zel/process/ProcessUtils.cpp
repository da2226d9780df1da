#include "zel/process/ProcessUtils.h"

#include "zel/core/StringUtils.h"
#include "zel/foundation/Log.h"
#include "zel/platform/NameOrder.h"
#include "zel/platform/ProcessTable.h"
#include "zel/platform/WindowStack.h"

#include <utility>
#include <vector>

namespace zel {

namespace {

const LogArea s_log("ProcessUtils", 3);

constexpr const char* UNKNOWN_NAME = "unknown";

constexpr std::size_t TITLE_LIMIT = 254;  // a buffer of 255 bytes, including the terminating zero

}  // namespace

ProcessUtilsEx::ProcessUtilsEx(const std::string& message, const std::string& file, int line)
    : Exception("ProcessUtilsEx", message, file, line) {}

ProcessInfo::ProcessInfo(std::string processName, unsigned int processId)
    : name(std::move(processName)), pid(processId) {}

void ProcessUtils::ListProcesses(std::list<RCPtr<ProcessInfo>>* processes,
                                 const std::string& name) {
    std::vector<unsigned int> pids;
    if (!platform::ListProcessIds(pids)) {
        Throw<ProcessUtilsEx>(s_log, "Could not enumerate processes");
    }
    std::list<RCPtr<ProcessInfo>> found;
    for (const unsigned int pid : pids) {
        std::string processName = platform::ReadProcessName(pid);
        if (processName.empty()) {
            processName = UNKNOWN_NAME;
        }
        if (name.empty() || name == processName) {
            found.emplace_back(new ProcessInfo(std::move(processName), pid));
        }
    }
    processes->splice(processes->end(), found);
}

bool ProcessUtils::FindProcess(const std::string& name, unsigned int* pid) {
    std::list<RCPtr<ProcessInfo>> processes;
    ListProcesses(&processes, "");
    for (const RCPtr<ProcessInfo>& process : processes) {
        if (platform::CompareNames(process->name, name) == 0) {
            *pid = process->pid;
            return true;
        }
    }
    return false;
}

void ProcessUtils::SwitchToProcess(unsigned int pid, const std::string& title) {
    // 0 is also the owner of a window whose process isn't known.
    const auto windows = pid == 0 ? nullptr : platform::OpenWindowStack();
    if (!windows) {
        return;
    }
    const std::string wanted = StringUtils::ToLower(title);
    for (const platform::WindowStack::Window window : windows->ListFromTop()) {
        if (windows->GetOwner(window) == pid &&
            StringUtils::ToLower(windows->GetTitle(window, TITLE_LIMIT)) == wanted) {
            windows->Raise(window);
            return;
        }
    }
}

void ProcessUtils::SwitchToProcess(const std::string& name, const std::string& title) {
    unsigned int pid = 0;
    if (FindProcess(name, &pid) && pid != 0) {
        SwitchToProcess(pid, title);
    }
}

}  // namespace zel
