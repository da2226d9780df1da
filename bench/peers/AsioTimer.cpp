#include "bench/commands/TimerBench.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <memory>
#include <thread>

namespace zel::bench {

namespace {

class Service {
public:
    using Timer = std::unique_ptr<boost::asio::steady_timer>;

    ~Service() {
        m_work.reset();
        m_context.stop();
        m_thread.join();
    }

    template <class Duration, class Callable>
    Timer Arm(Duration interval, Callable callable) {
        auto timer = std::make_unique<boost::asio::steady_timer>(m_context, interval);
        timer->async_wait([callable](const boost::system::error_code& error) {
            if (!error) {
                callable();
            }
        });
        return timer;
    }

    void Cancel(const Timer& timer) { timer->cancel(); }

private:
    boost::asio::io_context m_context;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_work{
        m_context.get_executor()};
    std::thread m_thread{[this] { m_context.run(); }};
};

constexpr const char* PEER = "Boost.Asio";

const Comparison s_fire(Timers::FIRE_10000, {TimerSide(PEER, FireTimers<Service, 10000>, 0.9)});
const Comparison s_fireMany(Timers::FIRE_100000,
                            {TimerSide(PEER, FireTimers<Service, 100000>, 0.9)});
const Comparison s_cancel(Timers::CANCEL, {TimerSide(PEER, CancelTimers<Service, 10000>, 1)});
const Comparison s_lateness(Timers::LATENESS, {TimerSide(PEER, MeasureLateness<Service, 50>)});
const Comparison s_worst(Timers::WORST_LATENESS, {TimerSide(PEER, MeasureLateness<Service, 99>)});

}  // namespace

}  // namespace zel::bench
