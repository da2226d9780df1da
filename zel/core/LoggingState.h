#pragma once

#include "zel/core/Logger.h"

#include <mutex>

namespace zel {

// A registered log area.
struct LogAreaState {
    LogAreaState(std::string areaName, int level) : name(std::move(areaName)), ownLevel(level) {}

    const std::string name;
    const int ownLevel;
    std::atomic<int> threshold{-1};  // the highest level that is enabled; -1 for none
};

// The log areas of the process and the logger in use. Created on first use and never destroyed.
class LoggingState {
public:
    static LoggingState& Get();

    RCPtr<Logger> GetInstance();
    void SetInstance(RCPtr<Logger> logger);

    LogAreaState& Register(const std::string& name, int level);

    // Returns the name of the area of a source file.
    std::string AreaNameOfFile(const std::string& file);
    int GetLevel(const std::string& area);

    // Calls `change`, which modifies `logger`, and updates the thresholds under the same lock.
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
