#include "tests/crashd/Expectation.h"

#include <gtest/gtest.h>

namespace zel::crashtest {

bool Contains(const std::string& text, const std::string& pattern) {
    return std::regex_search(text, std::regex(pattern));
}

void Expect(const Row& row) {
    const Outcome outcome = Child(row.death, row.place, row.shape).Finish();
    SCOPED_TRACE(row.death + ", " + row.shape + ", " + row.place + '\n' + outcome.output +
                 outcome.errors);
    EXPECT_TRUE(outcome.EndedBy(row.end)) << outcome.status;
    EXPECT_LE(outcome.CountReports(), 1);
    EXPECT_LT(outcome.afterlife, std::chrono::seconds(isSanitized ? 20 : 5));
    EXPECT_TRUE(Contains(outcome.errors, row.errors)) << row.errors;
    EXPECT_TRUE(Contains(outcome.output, row.output)) << row.output;
    EXPECT_FALSE(Contains(outcome.errors, "allocation|\n[0-9]+ .*Filter"));
    EXPECT_FALSE(Contains(outcome.output, "descriptors are left open"));
    // Files are left only by these names, and nothing is written to them.
    for (const auto& entry : std::filesystem::directory_iterator(".")) {
        EXPECT_TRUE(entry.path().filename().string().starts_with("left_")) << entry;
        EXPECT_TRUE(!entry.is_regular_file() || entry.file_size() == 0) << entry;
        std::filesystem::remove(entry);
    }
}

// Sanitizers slow the walk so much that it may reach its time limit on a busy machine.
std::string ReportOf(int flags, const std::string& reason, const std::string& functions) {
    return "\nException Caught: \\(" + std::to_string(flags) + "\\)  \nReason: " + reason +
           "\nFault Address: (\\w{8})\n[^]*\nAncillary data:\n(?=0 \\S+ 0x\\1 )" +
           (isSanitized ? "" : functions);
}

}  // namespace zel::crashtest
