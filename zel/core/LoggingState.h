#pragma once

#include "zel/core/Logger.h"

#include <mutex>

namespace zel {

struct LogAreaState {
    LogAreaState(std::string areaName, int level) : name(std::move(areaName)), ownLevel(level) {}

    const std::string name;
    const int ownLevel;
    std::atomic<int> threshold{-1};  // the highest level that is written now, -1 for none
};

// The log areas of the process and the logger in use. Made at the first use, never destroyed.
class LoggingState {
public:
    static LoggingState& Get();

    RCPtr<Logger> GetInstance();
    void SetInstance(RCPtr<Logger> logger);

    LogAreaState& Register(const std::string& name, int level);

    // The area that a source file logs in, by its path.
    std::string AreaNameOfFile(const std::string& file);
    int GetLevel(const std::string& area);

    // Changes `logger` by `change` and brings the thresholds up to date, in one step.
    template <class Change>
    void Reconfigure(const Logger& logger, Change change) {
        const std::lock_guard lock(m_mutex);
        change();
        if (m_instance == &logger) {
            UpdateThresholds();
        }
    }

private:
    int LevelOf(const std::string& area) const;
    int ThresholdOf(const LogAreaState& area) const;
    void UpdateThresholds();

    std::mutex m_mutex;
    std::map<std::string, std::unique_ptr<LogAreaState>, std::less<>> m_areas;
    RCPtr<Logger> m_instance;
};

}  // namespace zel
