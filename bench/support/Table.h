#pragma once

#include "bench/support/Comparison.h"

#include <map>

namespace zel::bench {

// Collects the medians of all runs and prints them as rows of a Markdown table, one for each peer.
class Table : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override;

    static void PrintHeader(std::ostream& out);

    // Prints our figure of each comparison that was run next to each measured peer.
    void Print(const Sides& sides, std::ostream& out) const;

private:
    struct Figure {
        double value;
        std::string unit;
    };

    static Figure FigureOf(const Run& run);
    const Figure* Find(const std::string& what, const std::string& side) const;
    void PrintPeers(const std::string& what, const Sides& sides, std::ostream& out) const;

    std::map<std::string, Figure> m_figures;  // by benchmark name
};

}  // namespace zel::bench
