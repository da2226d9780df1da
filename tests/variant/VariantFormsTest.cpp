#include "tests/support/VariantForms.h"

#include "zel/variant/Variant.h"

#include <gtest/gtest.h>

#include <functional>
#include <iomanip>
#include <tuple>
#include <utility>

namespace zel {
namespace {

using namespace std::string_literals;

using test::Sample;
using test::StreamForm;
using Value = RCPtr<VariantBase>;

// Writes at an odd address. One byte less than the form needs is rejected and nothing is written.
std::string BufferForm(const Value& value, bool withSize) {
    const std::size_t size = StreamForm(value).size() - (value->IsArray() && !withSize ? 8 : 0);
    std::string buffer(1 + size, '?');
    char* const begin = &buffer[1];
    unsigned long long bytes = size - 1;
    EXPECT_EQ(value->GetSizeInBuffer(withSize), size);
    EXPECT_EQ(value->WriteValueToBuffer(begin, bytes, withSize), nullptr);
    EXPECT_EQ(bytes, size - 1);
    EXPECT_EQ(buffer, std::string(1 + size, '?'));
    ++bytes;
    EXPECT_EQ(value->WriteValueToBuffer(begin, bytes, withSize), begin + size);
    EXPECT_EQ(bytes, 0U);
    return buffer.substr(1);
}

// The lengths are about those of a SIMD register and of the blocks of the stream form.
TEST(VariantFormsTest, EveryTypeAndLengthSurvivesEveryForm) {
    test::ForEachElement([]<class E>(ElementTraits<E>) {
        std::vector<Value> values = {new Variant<E>(Sample<E>(1)),
                                     new Variant<std::vector<E>>({Sample<E>(3)}, true)};
        for (const std::size_t count : {1U, 15U, 16U, 17U, 4095U, 4097U, 20000U}) {
            std::vector<E> elements;
            for (int i = 0; elements.size() < count; i += 7) {
                elements.push_back(Sample<E>(i));
            }
            values.push_back(new Variant<std::vector<E>>(elements));
        }
        for (const Value& value : values) {
            SCOPED_TRACE(value->GetTypeName());
            const Value back = value->Clone();
            const auto reads = [&](auto read) {
                back->SetMaximumValue();
                return read() && back->IsEqual(value, true, false, true);
            };
            for (const bool withSize : {false, true}) {
                const std::string text = value->WriteValueToString(withSize);
                EXPECT_TRUE(reads([&] { return back->ReadValueFromString(text, withSize); }));
                const std::string bytes = BufferForm(value, withSize) + "tail!";
                unsigned long long left = bytes.size();
                EXPECT_TRUE(reads([&] {
                    return back->ReadValueFromBuffer(bytes.data(), left, withSize) ==
                           &bytes[bytes.size() - 5];
                }));
                EXPECT_EQ(left, 5U);
            }
            std::istringstream in(BufferForm(value, true));
            EXPECT_TRUE(reads([&] { return back->ReadValueFromStream(in) && in.good(); }));
            EXPECT_EQ(in.str(), StreamForm(value));
        }
    });
}

TEST(VariantFormsTest, TheBytesAreThoseOfTheFormat) {
    const std::pair<Value, std::string> rows[] = {
        {new Variant<int>(258), "\0\0\1\2"s},
        {new Variant<double>(1), "\x3F\xF0\0\0\0\0\0\0"s},
        {new Variant<std::vector<unsigned short>>({1, 2}), "\0\0\0\0\0\0\0\2\0\1\0\2"s},
        {new Variant<std::string>("ab"), "ab\0"s},
        {new Variant<std::vector<std::string>>({"a", ""}), "\0\0\0\0\0\0\0\2a\0\0"s},
        {new Variant<std::vector<unsigned char>>(), "\0\0\0\0\0\0\0\0"s},
        {new Variant<signed char>(-2), "\xFE"},
    };
    for (const auto& [value, bytes] : rows) {
        EXPECT_EQ(StreamForm(value), bytes) << value->GetTypeName();
        EXPECT_EQ(BufferForm(value, true), bytes) << value->GetTypeName();
    }
    unsigned long long none = 0;
    EXPECT_EQ(Variant<std::vector<std::string>>().ReadValueFromBuffer(&none, none, false), &none);
    EXPECT_EQ(Variant<std::string>().ReadValueFromBuffer(&none, none, false), nullptr);
    const Value zero(new Variant<std::string>("a\0b"s));
    EXPECT_EQ(StreamForm(zero), "a\0b\0"s);
    EXPECT_EQ(BufferForm(zero, false), "a\0\0\0"s);
}

TEST(VariantFormsTest, TextIsReadOrRejected) {
    // A type, a text, whether it has the number of elements, and what is written afterwards, "-" if
    // it is rejected.
    const std::tuple<const char*, const char*, bool, const char*> rows[] = {
        {"S32", "0x10", false, "16"},        {"U8", "300", false, "44"},
        {"S8", "200", false, "-56"},         {"string", "", false, ""},
        {"string", "a`b", true, "a`b"},      {"S32[]", "", false, ""},
        {"S32[]", "7`8`9", false, "7`8`9"},  {"S32[]", "7`8`", false, "-"},
        {"S32[]", "3`7`8`9", true, "7`8`9"}, {"S32[]", "1`7`8", true, "-"},
        {"S32[]", "0`", true, "-"},          {"S32[3]", "1`2", false, "-"},
        {"U8[]", "300`65", false, "44`65"},  {"string[]", "a`b`", false, "a`b`"},
        {"string[]", "2`a`b", true, "a`b"},  {"D64[]", "0.1`1e300`-inf", false, "0.1`1e+300`-inf"},
    };
    for (const auto& [type, text, withSize, outcome] : rows) {
        SCOPED_TRACE(std::string(type) + ' ' + text);
        const Value value = VariantBase::CreateByTypeName(type);
        const std::string before = value->WriteValueToString(false);
        const bool isRead = value->ReadValueFromString(text, withSize);
        EXPECT_EQ(isRead ? value->WriteValueToString(false) : "-", outcome);
        EXPECT_TRUE(isRead || value->WriteValueToString(false) == before);
    }
    EXPECT_EQ(Variant<std::vector<int>>().WriteValueToString(true), "0`");
    EXPECT_EQ(Variant<int>(5, true).WriteValueToString(false), "");
    EXPECT_EQ(Variant<int>(5, true).GetSizeInBuffer(false), 0U);
    std::ostringstream out;
    out << std::setw(4) << Variant<int>(5) << Variant<std::vector<int>>({6, 7});
    EXPECT_EQ(out.str(), "   56`7");
    EXPECT_FALSE((Variant<int>(5, true).ReadValueFromString("5", false)));
}

TEST(VariantFormsTest, ElementsAreInsertedAndRemoved) {
    Variant<std::vector<int>> array({1, 2});
    EXPECT_TRUE(array.AddElementToVectorAsString(0, "5", true));
    EXPECT_TRUE(array.AddElementToVectorAsString(1, "6", true));
    EXPECT_TRUE(array.AddElementToVectorAsString(-1, "7", true));
    EXPECT_THROW(array.AddElementToVectorAsString(0, "x", true), Exception);
    EXPECT_EQ(array.GetValue(), (std::vector<int>{5, 6, 1, 2, 7}));
    for (const int index : {-1, 5, 3}) {
        EXPECT_TRUE(array.RemoveElementFromVector(index, true));
    }
    EXPECT_EQ(array.GetValue(), (std::vector<int>{5, 6, 1, 7}));
    EXPECT_FALSE(Variant<int>().AddElementToVectorAsString(0, "5", true));
}

// Calls a function before it is written to or flushed.
struct CallingBuffer : std::stringbuf {
    std::streamsize xsputn(const char* text, std::streamsize count) override {
        return sync() == 0 ? std::stringbuf::xsputn(text, count) : 0;
    }
    int sync() override { return call(), 0; }

    std::function<void()> call;
};

TEST(VariantFormsTest, AStreamMayChangeTheArrayThatIsWritten) {
    for (const bool isTied : {false, true}) {
        for (const Value& array : {VariantBase::CreateByTypeName("D64[1025]"),
                                   VariantBase::CreateByTypeName("string[3]")}) {
            SCOPED_TRACE(array->GetTypeName());
            const std::string bytes = StreamForm(array);
            CallingBuffer user;
            user.call = [&] { array->SetNumberOfElements(9999); };
            std::ostream userStream(&user);
            std::ostringstream tied;
            tied.tie(&userStream);
            EXPECT_TRUE(array->WriteValueToStream(isTied ? tied : userStream));
            EXPECT_EQ(isTied ? tied.str() : user.str(), bytes);
        }
    }
}

TEST(VariantFormsTest, AnUntrustedCountIsRejected) {
    const std::pair<unsigned long long, bool> rows[] = {
        {0, true}, {3, false}, {1ULL << 20, false}, {1ULL << 61, true}, {~0ULL, false}};
    for (const auto& [count, isFixed] : rows) {
        SCOPED_TRACE(count);
        Variant<std::vector<unsigned long long>> value({7}, isFixed);
        std::string bytes = StreamForm(new Variant<unsigned long long>(count)) + "01234567";
        unsigned long long left = bytes.size();
        EXPECT_EQ(value.ReadValueFromBuffer(bytes.data(), left, true), nullptr);
        EXPECT_EQ(left, bytes.size());
        std::istringstream in(bytes);
        try {
            EXPECT_FALSE(value.ReadValueFromStream(in));
        } catch (const std::bad_alloc&) {
            EXPECT_GT(count, 1ULL << 30);
        }
        EXPECT_EQ(value.GetValue(), std::vector<unsigned long long>{7});
    }
}

}  // namespace
}  // namespace zel
