#include "zel/core/LoggingState.h"

#include "zel/core/FileUtils.h"

namespace zel {

LoggingState& LoggingState::Get() {
    static LoggingState* const state = new LoggingState;
    return *state;
}

RCPtr<Logger> LoggingState::GetInstance() {
    const std::lock_guard lock(m_mutex);
    return m_instance;
}

void LoggingState::SetInstance(RCPtr<Logger> logger) {
    // The previous logger is released with the parameter, after the lock is left: the destructors
    // of its sinks may log.
    const std::lock_guard lock(m_mutex);
    m_instance.Swap(logger);
    UpdateThresholds();
}

LogAreaState& LoggingState::Register(const std::string& name, int level) {
    const std::lock_guard lock(m_mutex);
    std::unique_ptr<LogAreaState>& area = m_areas[name];
    if (!area) {
        area = std::make_unique<LogAreaState>(name, level);
        area->threshold = ThresholdOf(*area);
    }
    return *area;
}

std::string LoggingState::AreaNameOfFile(const std::string& file) {
    const std::string name = FileUtils::GetFileFromPath(file);
    const std::string stem = name.substr(0, name.rfind('.'));
    const std::lock_guard lock(m_mutex);
    return m_areas.count(name) == 0 && m_areas.count(stem) != 0 ? stem : name;
}

int LoggingState::GetLevel(const std::string& area) {
    const std::lock_guard lock(m_mutex);
    return LevelOf(area);
}

int LoggingState::LevelOf(const std::string& area) const {
    if (m_instance) {
        const auto override = m_instance->m_areaLevels.find(area);
        if (override != m_instance->m_areaLevels.end()) {
            return override->second;
        }
    }
    const auto registered = m_areas.find(area);
    return registered == m_areas.end() ? -1 : registered->second->ownLevel;
}

int LoggingState::ThresholdOf(const LogAreaState& area) const {
    if (!m_instance || !m_instance->IsStarted()) {
        return -1;
    }
    const int level = LevelOf(area.name);
    return level == -1 ? m_instance->GetGlobalLogLevel() : level;
}

void LoggingState::UpdateThresholds() {
    for (const auto& [name, area] : m_areas) {
        area->threshold = ThresholdOf(*area);
    }
}

}  // namespace zel
