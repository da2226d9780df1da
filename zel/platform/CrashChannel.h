#pragma once

#include <cstddef>

namespace zel::platform {

/// The channel from a program to its crash daemon; one record passes through it when the program
/// crashes. Each system implements both ends. Only the program and the HelperProcess that it has
/// started can use it; nothing of it remains after either process has ended.

/// The program's end. It lives as long as the process: the end of the process closes it, and so
/// does the start of another program in its place.
class CrashChannel {
public:
    /// Creates the channel. Returns false, with the system's error number, on failure.
    bool Create() noexcept;

    bool IsOpen() const noexcept { return m_writer >= 0; }

    /// Returns the name under which the helper process opens the other end.
    static const char* GetName() noexcept;

    /// Returns the other end, for HelperProcess, which passes it on.
    int GetReader() const noexcept { return m_reader; }

    /// Closes the other end, after the helper process has got it.
    void CloseReader() noexcept;

    /// Returns whether any process still holds the other end.
    bool HasReader() const noexcept;

    /// Sends all of the data and doesn't wait for the other side to read. Returns false if the
    /// other side has ended. Safe in the handler of a fault.
    bool Send(const void* data, std::size_t size) const noexcept;

    void Close() noexcept;

private:
    int m_writer = -1;
    int m_reader = -1;
};

/// The daemon's end.
class CrashChannelReader {
public:
    CrashChannelReader() = default;
    ~CrashChannelReader();
    CrashChannelReader(const CrashChannelReader&) = delete;
    CrashChannelReader& operator=(const CrashChannelReader&) = delete;

    /// Opens the channel `name`, or any path, which blocks until that has a writer. On success the
    /// program sees its daemon as listening, and the process continues under another number, as a
    /// child of no process. Returns false, with the system's error number, on failure.
    bool Open(const char* name) noexcept;

    /// Waits for data and reads up to `size` bytes. Returns the number of bytes, 0 after the
    /// program has ended and all data has been read.
    std::size_t Read(void* buffer, std::size_t size) noexcept;

    void Close() noexcept;

private:
    int m_reader = -1;
    int m_program = -1;
};

}  // namespace zel::platform
