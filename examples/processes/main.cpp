// Lists the processes of this machine, or those of one name.

#include "zel/process/ProcessUtils.h"

#include <algorithm>
#include <exception>
#include <iomanip>
#include <iostream>
#include <list>
#include <string>

using zel::ProcessInfo;
using zel::ProcessUtils;
using zel::RCPtr;

namespace {

constexpr const char* USAGE = R"(usage: processes [NAME]

Lists the identifiers and names of all processes, or of those with exactly that name. Exits with 1
if there is none.
)";

// Replaces control characters, so that a name takes one line.
std::string Printable(std::string name) {
    std::ranges::replace_if(
        name, [](unsigned char c) { return c < ' ' || c == '\x7F'; }, '?');
    return name;
}

void Print(const std::list<RCPtr<ProcessInfo>>& processes) {
    constexpr int width = 10;
    std::cout << std::setw(width) << "identifier"
              << "  name\n";
    for (const RCPtr<ProcessInfo>& process : processes) {
        std::cout << std::setw(width) << process->pid << "  " << Printable(process->name) << '\n';
    }
    std::cout.flush();
}

// Suggests a process whose name differs only in case.
void PrintSuggestion(const std::string& name) {
    unsigned int pid = 0;
    std::cerr << "processes: there is no process named " << Printable(name);
    if (ProcessUtils::FindProcess(name, &pid)) {
        std::cerr << ", but one in another case: " << pid;
    }
    std::cerr << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int failed = 1;
    constexpr int wrongUsage = 2;
    if (argc > 2) {
        std::cerr << USAGE;
        return wrongUsage;
    }
    try {
        const std::string name = argc == 2 ? argv[1] : "";
        std::list<RCPtr<ProcessInfo>> processes;
        ProcessUtils::ListProcesses(&processes, name);
        if (processes.empty()) {
            PrintSuggestion(name);
            return failed;
        }
        Print(processes);
        return std::cout ? 0 : failed;
    } catch (const std::exception& ex) {
        std::cerr << "processes: " << ex.what() << std::endl;
        return failed;
    }
}
