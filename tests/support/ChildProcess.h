#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zel::test {

// Returns the path of the running program.
std::string OwnProgram();

// Sets a variable in the environment of this process and of those that it starts later.
void SetVariable(const std::string& name, const std::string& value);

// A child process whose standard streams are pipes. Killed when this object is destroyed.
class ChildProcess {
public:
    enum Stream { INPUT, OUTPUT, ERRORS };

    // Starts a program. On Windows its arguments contain no quotation mark.
    explicit ChildProcess(const std::vector<std::string>& command);

    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    int GetId() const;

    // Ends the process at once.
    void Kill() const;

    // Blocks until the process has exited and returns its exit code, or on Linux the negative
    // number of the signal that ended it.
    int Wait();

    void Write(std::string_view text) const;
    void CloseInput();

    // Returns its standard output up to and without `end`, or all of it if `end` does not occur.
    std::string ReadUntil(std::string_view end) const {
        std::string text;
        while (!text.ends_with(end) && ReadSome(OUTPUT, text, 1)) {
        }
        return text.substr(0, text.size() - (text.ends_with(end) ? end.size() : 0));
    }

    // Returns all output until the process and its descendants have closed the stream.
    std::string ReadAll(Stream stream) const {
        std::string text;
        while (ReadSome(stream, text, 4096)) {
        }
        return text;
    }

private:
    struct Body;

    // Appends up to `size` bytes, with line feeds for all line ends. Returns false at the end of
    // the stream and after a timeout. Requires: size <= 4096.
    bool ReadSome(Stream stream, std::string& text, std::size_t size) const;

    const std::unique_ptr<Body> m_body;
};

}  // namespace zel::test
