#include "SettledFiles.h"

#include <filesystem>
#include <system_error>
#include <utility>

using zel::CallbackTimer;
using zel::RCPtr;

namespace {

// 0 for a file that has gone, too.
std::uintmax_t SizeOf(const std::string& path) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    return error ? 0 : size;
}

}  // namespace

SettledFiles::SettledFiles(double settleSeconds, Take take)
    : m_settleSeconds(settleSeconds), m_take(std::move(take)), m_timers(new zel::TimerEventThread) {
    m_timers->Start();
}

SettledFiles::~SettledFiles() {
    Stop();
}

void SettledFiles::Expect(const std::string& path) {
    const std::uintmax_t size = SizeOf(path);
    m_timers->AddTimer(
        new CallbackTimer(m_settleSeconds, [this, path, size] { LookAgain(path, size); }));
}

void SettledFiles::Stop() {
    m_timers->RequestStop();
    m_timers->Join();
}

void SettledFiles::LookAgain(const std::string& path, std::uintmax_t sizeBefore) {
    if (SizeOf(path) == sizeBefore) {
        m_take(path);
    } else {
        Expect(path);
    }
}
