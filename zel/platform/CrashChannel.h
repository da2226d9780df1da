#pragma once

#include <cstddef>

namespace zel::platform {

// The way from a program to its second copy: one record goes over it, when the program crashes. A
// new system must offer both ends. Only the program and a copy that SecondCopy has started can use
// it; nothing of it is left behind, whichever way either of them ends.

// The program's end. Lives as long as the process and is never closed for it: the end of the
// process closes it, and so does the start of another program in its place.
class CrashChannel {
public:
    // Makes the channel. False if the system can't, which its error number tells.
    bool Create() noexcept;

    bool IsOpen() const noexcept { return m_writer >= 0; }

    // Under what name the second copy opens the other end.
    static const char* GetName() noexcept;

    // For SecondCopy, which passes it on.
    int GetReader() const noexcept { return m_reader; }

    // To be called when the copy has its end.
    void CloseReader() noexcept;

    // Whether anybody still holds the other end.
    bool HasReader() const noexcept;

    // Sends all of it, goes on behind a part, and doesn't wait for the other side to read. False
    // if that has gone. For a fault's handler as well.
    bool Send(const void* data, std::size_t size) const noexcept;

    void Close() noexcept;

private:
    int m_writer = -1;
    int m_reader = -1;
};

// The second copy's end.
class CrashChannelReader {
public:
    CrashChannelReader() = default;
    ~CrashChannelReader();
    CrashChannelReader(const CrashChannelReader&) = delete;
    CrashChannelReader& operator=(const CrashChannelReader&) = delete;

    // Opens the channel of that name, or whatever the path `name` leads to, which waits until that
    // has a writer. With the channel the program sees its second copy as listening, and the copy
    // goes on as a process of another number that is nobody's child. False if it can't be opened,
    // which the system's error number tells.
    bool Open(const char* name) noexcept;

    // Waits for data and reads up to `size` bytes: how many, or 0 when the program has ended and
    // nothing more will come.
    std::size_t Read(void* buffer, std::size_t size) noexcept;

    void Close() noexcept;

private:
    int m_reader = -1;
    int m_program = -1;
};

}  // namespace zel::platform
