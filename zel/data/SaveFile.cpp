#include "zel/data/SaveFile.h"

#include "zel/platform/FileReplacement.h"
#include "zel/platform/SystemError.h"

#include <ostream>
#include <streambuf>

namespace zel {

namespace {

// Unbuffered, as trees and tables are written in blocks.
class ReplacementBuffer : public std::streambuf {
public:
    explicit ReplacementBuffer(platform::FileReplacement& file) : m_file(file) {}

private:
    std::streamsize xsputn(const char* text, std::streamsize size) override {
        return m_file.Write({text, static_cast<std::size_t>(size)}) ? size : 0;
    }

    int_type overflow(int_type character) override {
        const char byte = traits_type::to_char_type(character);
        return m_file.Write({&byte, 1}) ? character : traits_type::eof();
    }

    platform::FileReplacement& m_file;
};

}  // namespace

std::string SaveFile(const std::string& path, const std::function<void(std::ostream&)>& write) {
    platform::FileReplacement file(path);
    ReplacementBuffer buffer(file);
    std::ostream out(&buffer);
    write(out);
    const int error = file.Commit();
    return error == 0 ? std::string() : platform::SystemErrorText(error);
}

}  // namespace zel
