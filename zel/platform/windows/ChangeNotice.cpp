#include "zel/platform/ChangeNotice.h"

#include "zel/platform/SystemError.h"
#include "zel/platform/windows/Handle.h"

#include <chrono>

namespace zel::platform {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds DEGRADED_INTERVAL(2);

// Which directory is at a path; all zero if there is none.
struct DirectoryIdentity {
    bool operator==(const DirectoryIdentity&) const = default;
    bool IsKnown() const noexcept { return *this != DirectoryIdentity(); }

    DWORD volume = 0;
    DWORD indexHigh = 0;
    DWORD indexLow = 0;
};

DirectoryIdentity FindDirectory(const std::string& path) noexcept {
    const Handle directory(::CreateFileA(path.c_str(), 0, SHARE_ALL, nullptr, OPEN_EXISTING,
                                         FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    BY_HANDLE_FILE_INFORMATION found = {};
    if (!directory.IsOpen() || ::GetFileInformationByHandle(directory.Get(), &found) == 0 ||
        (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        return {};
    }
    return {found.dwVolumeSerialNumber, found.nFileIndexHigh, found.nFileIndexLow};
}

// The system's notice belongs to a directory and not to its path, where another directory may
// appear, or none may be yet. So the path is looked at after each wait, too.
class DirectoryNotice final : public ChangeNotice {
public:
    DirectoryNotice(std::string path, bool recursive)
        : m_path(std::move(path)), m_recursive(recursive) {
        Open();
    }

    ~DirectoryNotice() override { Close(); }

    bool Wait(int milliseconds) override {
        const auto limit = static_cast<DWORD>(milliseconds);
        if (m_isSignalled) {
            return true;
        }
        if (!IsOpen()) {
            ::Sleep(limit);
        } else if (::WaitForSingleObject(m_notice, limit) == WAIT_OBJECT_0) {
            m_isSignalled = true;
        }
        m_isSignalled = m_isSignalled || IsIntervalElapsed() || IsAnotherDirectory();
        return m_isSignalled;
    }

    bool Rearm() override {
        m_isSignalled = false;
        if (!IsOpen() || IsAnotherDirectory() || ::FindNextChangeNotification(m_notice) == 0) {
            Close();
            Open();
        }
        return true;
    }

    std::string GetWarning() const override {
        return IsDegraded() ? SystemErrorText(m_error) + "; it is listed every 2 seconds instead"
                            : "";
    }

private:
    bool IsOpen() const noexcept { return m_notice != INVALID_HANDLE_VALUE; }
    bool IsDegraded() const noexcept { return !IsOpen() && m_directory.IsKnown(); }
    bool IsIntervalElapsed() const noexcept { return IsDegraded() && Clock::now() >= m_nextSignal; }
    bool IsAnotherDirectory() const noexcept { return FindDirectory(m_path) != m_directory; }

    // Looks at the path first: if another directory appears before the notice is opened, the next
    // wait finds it.
    void Open() noexcept {
        constexpr DWORD names = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_DIR_NAME;
        m_directory = FindDirectory(m_path);
        m_notice =
            ::FindFirstChangeNotificationA(m_path.c_str(), m_recursive ? TRUE : FALSE, names);
        m_error = IsOpen() ? 0 : LastSystemError();
        m_nextSignal = Clock::now() + DEGRADED_INTERVAL;
    }

    void Close() noexcept {
        if (IsOpen()) {
            ::FindCloseChangeNotification(m_notice);
        }
    }

    const std::string m_path;
    const bool m_recursive;
    DirectoryIdentity m_directory;
    HANDLE m_notice = INVALID_HANDLE_VALUE;
    int m_error = 0;  // why there is no notice
    bool m_isSignalled = false;
    Clock::time_point m_nextSignal;
};

}  // namespace

std::unique_ptr<ChangeNotice> OpenChangeNotice(const std::string& path, bool recursive) {
    return std::make_unique<DirectoryNotice>(path, recursive);
}

}  // namespace zel::platform
