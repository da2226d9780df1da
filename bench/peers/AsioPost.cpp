#include "bench/commands/CommandBench.h"

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <memory>

namespace zel::bench {

namespace {

// Binds a weak pointer, as AsyncCommandForRCObject does.
class Poster {
public:
    ~Poster() { m_pool.join(); }

    Work& GetWork() { return *m_work; }

    void Post(void (Work::*function)(int)) {
        boost::asio::post(m_pool, [weak = std::weak_ptr<Work>(m_work), function, argument = 1] {
            if (const auto work = weak.lock()) {
                ((*work).*function)(argument);
            }
        });
    }

private:
    const std::shared_ptr<Work> m_work = std::make_shared<Work>();
    boost::asio::thread_pool m_pool{1};
};

constexpr const char* PEER = "Boost.Asio";

const Comparison s_many(Commands::MANY, {PostingSide(PEER, PostCommands<Poster, 10000>, 1.3)});
const Comparison s_one(Commands::ONE, {PostingSide(PEER, PostCommands<Poster, 1>, 1.3)});

}  // namespace

}  // namespace zel::bench
