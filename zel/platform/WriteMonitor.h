#pragma once

#include <functional>
#include <memory>
#include <string>

namespace zel::platform {

// Reports how the files in directories are being written, so that a file is not read before it is
// complete. Only what happens after a directory was added is reported. Every system implements
// OpenWriteMonitor. Not thread-safe.
class WriteMonitor {
public:
    enum class Event {
        Created,  // a new name; a program that creates it by opening it causes Opened, too
        Opened,   // for reading or writing
        ClosedAfterWriting,
        ClosedAfterReading,
        MovedIn,  // under this name, from elsewhere
        Removed,
        Replaced,  // the path is a directory: another one, not reported on until now, is there
    };
    using Handler = std::function<void(const std::string& path, Event event)>;

    WriteMonitor() = default;
    virtual ~WriteMonitor() = default;
    WriteMonitor(const WriteMonitor&) = delete;
    WriteMonitor& operator=(const WriteMonitor&) = delete;

    // Adds a directory, without its subdirectories. Adding it again has no effect unless another
    // directory has replaced it. A directory that can't be watched has no events until it can.
    virtual void Add(const std::string& directory) = 0;

    // Returns the limit of the system that kept the last directory from being watched, and the
    // remedy. Empty if no limit did.
    virtual std::string GetWarning() const = 0;

    // Removes a directory that no longer exists at this path.
    virtual void Remove(const std::string& directory) = 0;

    // Calls `handle` with each event since the last call, in order, without blocking. A path is
    // that of the directory, the separator and a name. Returns false if events were lost.
    virtual bool Poll(const Handler& handle) = 0;
};

// Returns null if the system doesn't report how files are written.
std::unique_ptr<WriteMonitor> OpenWriteMonitor();

// Returns whether a program has the file open for writing; false if the system doesn't report it.
bool IsOpenForWriting(const std::string& path) noexcept;

}  // namespace zel::platform
