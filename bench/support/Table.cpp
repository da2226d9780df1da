#include "bench/support/Table.h"

#include "zel/core/StringUtils.h"

#include <cmath>

namespace zel::bench {

namespace {

constexpr const char* ROW = "| %-44s | %-10s | %8s | %-22s | %8s | %5s | %5s | %-3s |\n";

void PrintRow(std::ostream& out, const std::vector<std::string>& cells) {
    out << StringUtils::Format(ROW, cells[0].c_str(), cells[1].c_str(), cells[2].c_str(),
                               cells[3].c_str(), cells[4].c_str(), cells[5].c_str(),
                               cells[6].c_str(), cells[7].c_str());
}

// Formats with about three significant digits.
std::string TextOf(double value) {
    return StringUtils::Format("%.*f", value < 10 ? 2 : value < 100 ? 1 : 0, value);
}

std::string RatioText(double ratio) {
    return StringUtils::Format("%.2f", ratio);
}

// Compares rounded values, so that the verdict agrees with the printed ones.
std::string Verdict(double ratio, double aim) {
    constexpr double hundredths = 100;
    return std::round(ratio * hundredths) <= std::round(aim * hundredths) ? "yes" : "no";
}

}  // namespace

void Table::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.run_type != Run::RT_Aggregate || run.aggregate_name == "median") {
            m_figures[run.run_name.function_name] = FigureOf(run);
        }
    }
}

Table::Figure Table::FigureOf(const Run& run) {
    if (!run.counters.empty()) {
        const auto& [unit, counter] = *run.counters.begin();
        return {counter.value, unit};
    }
    const bool isWallClock = run.run_name.time_type == "real_time";
    return {isWallClock ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime(), "ns"};
}

const Table::Figure* Table::Find(const std::string& what, const std::string& side) const {
    const auto found = m_figures.find(BenchmarkName(what, side));
    return found == m_figures.end() ? nullptr : &found->second;
}

void Table::PrintHeader(std::ostream& out) {
    PrintRow(out, {"what", "unit", Side::OURS, "peer", "peer's", "ratio", "aim", "met"});
    PrintRow(out, {"---", "---", "---:", "---", "---:", "---:", "---:", "---"});
}

void Table::Print(const Sides& sides, std::ostream& out) const {
    for (const auto& [what, side] : sides) {
        if (side.name == Side::OURS && Find(what, side.name) != nullptr) {
            PrintPeers(what, sides, out);
        }
    }
}

void Table::PrintPeers(const std::string& what, const Sides& sides, std::ostream& out) const {
    const Figure ours = *Find(what, Side::OURS);
    bool isAlone = true;
    for (const auto& [sideOf, side] : sides) {
        const Figure* const peer = sideOf == what ? Find(what, side.name) : nullptr;
        if (peer == nullptr || side.name == Side::OURS) {
            continue;
        }
        isAlone = false;
        const double ratio = ours.value / peer->value;
        const bool hasAim = side.aim != Side::NO_AIM;
        PrintRow(out, {what, ours.unit, TextOf(ours.value), side.name, TextOf(peer->value),
                       RatioText(ratio), hasAim ? RatioText(side.aim) : "",
                       hasAim ? Verdict(ratio, side.aim) : ""});
    }
    if (isAlone) {
        PrintRow(out, {what, ours.unit, TextOf(ours.value), "", "", "", "", ""});
    }
}

}  // namespace zel::bench
