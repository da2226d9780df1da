#pragma once

#include "zel/commands/TimerEventThread.h"

#include <cstdint>
#include <functional>
#include <string>

// Waits until a file has stopped growing, by one-shot timers, and hands it on then.
class SettledFiles : public zel::RCObject {
public:
    using Take = std::function<void(const std::string& path)>;

    // `take` is called on the timer thread.
    SettledFiles(double settleSeconds, Take take);
    ~SettledFiles() override;

    // Any thread may call it.
    void Expect(const std::string& path);

    // Files that haven't settled yet are forgotten.
    void Stop();

private:
    void LookAgain(const std::string& path, std::uintmax_t sizeBefore);

    const double m_settleSeconds;
    const Take m_take;
    const zel::RCPtr<zel::TimerEventThread> m_timers;
};
