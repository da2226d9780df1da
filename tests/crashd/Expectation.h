#pragma once

#include "tests/crashd/Victim.h"

#include <string>
#include <vector>

namespace zel::crashtest {

#if defined(ZEL_SANITIZED)
inline constexpr bool isSanitized = true;
#else
inline constexpr bool isSanitized = false;
#endif

bool Contains(const std::string& text, const std::string& pattern);

struct Row {
    std::string death;
    int end;             // the negated status, on Linux a signal
    std::string errors;  // a pattern, as the next
    std::string output = "";
    std::string shape = "";
    std::string place = "main";
};

// The deaths of this system, and the kinds of threads on which they are tried.
extern const std::vector<Row> DEATHS;
extern const std::vector<std::string> THREADS;

// Runs a victim and compares what it leaves with the row.
void Expect(const Row& row);

// Returns the pattern of a report, whose first function has the fault's address.
std::string ReportOf(int flags, const std::string& reason, const std::string& functions);

}  // namespace zel::crashtest
