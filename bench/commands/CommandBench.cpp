#include "bench/commands/CommandBench.h"

#include "zel/commands/ThreadCommandProcessor.h"

namespace zel::bench {

namespace {

class CountedWork : public RCObject, public Work {};

class Poster {
public:
    Work& GetWork() { return *m_work; }

    void Post(void (Work::*function)(int)) {
        m_processor->PostCommand(
            new AsyncCommandForRCObject(WeakPtr<CountedWork>(m_work), function, 1));
    }

private:
    const RCPtr<CountedWork> m_work{new CountedWork};
    const RCPtr<ThreadCommandProcessor> m_processor{new ThreadCommandProcessor};
};

const Comparison s_many(Commands::MANY,
                        {PostingSide(Side::OURS, PostCommands<Poster, 10000>, Side::NO_AIM)});
const Comparison s_one(Commands::ONE,
                       {PostingSide(Side::OURS, PostCommands<Poster, 1>, Side::NO_AIM)});

}  // namespace

}  // namespace zel::bench
