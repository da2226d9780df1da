#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zel::platform {

/// The channel from a program to its crash daemon; one record passes through it when the program
/// crashes. Each system implements both ends. Only the program and the HelperProcess that it has
/// started can use it; nothing of it remains after either process has ended.

/// The program's end. It lives as long as the process: the end of the process closes it, and so
/// does the start of another program in its place.
class CrashChannel {
public:
    /// Creates the channel of the program with this file name. Returns false, with the system's
    /// error number, on failure.
    bool Create(const char* program) noexcept;

    /// Returns whether this process has created the channel. A process that was forked from the one
    /// that did hasn't, and may create its own.
    bool IsOpen() const noexcept;

    /// Returns the name under which the helper process opens the other end.
    const char* GetName() const noexcept;

    /// Sends all of the data, which is at most a record, and doesn't wait for the other side to
    /// read. Returns false if the other side has ended, or if the program has closed the channel
    /// and nothing, or something else, is open in its place. Safe in the handler of a fault.
    bool Send(const void* data, std::size_t size) const noexcept;

    void Close() noexcept;

private:
    friend class HelperProcess;

    bool IsUnchanged() const noexcept;
    void CloseReader() noexcept;

    std::intptr_t m_writer = -1;
    // The other end until the helper process has it, or the event of an operation on the channel.
    std::intptr_t m_reader = -1;
    std::intptr_t m_process = 0;
    // Identity of the pipe, if its number could be reused.
    unsigned long long m_device = 0;
    unsigned long long m_inode = 0;
    std::array<char, 280> m_name = {};
};

/// The daemon's end.
class CrashChannelReader {
public:
    CrashChannelReader() = default;
    ~CrashChannelReader();
    CrashChannelReader(const CrashChannelReader&) = delete;
    CrashChannelReader& operator=(const CrashChannelReader&) = delete;

    /// Opens the channel `name`, after which the program sees its daemon as listening, or a regular
    /// file, or a FIFO. Returns false, with the system's error number, if it can't be opened, or
    /// isn't the channel of a running program, or has no writer for five seconds.
    bool Open(const char* name) noexcept;

    /// Waits for data and reads up to `size` bytes. Returns the number of bytes, 0 after the
    /// program has ended and all data has been read.
    std::size_t Read(void* buffer, std::size_t size) noexcept;

    void Close() noexcept;

private:
    std::intptr_t m_reader = -1;
    std::intptr_t m_program = -1;
    std::array<char, 280> m_name = {};
};

}  // namespace zel::platform
