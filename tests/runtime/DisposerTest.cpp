#include "runtime/Disposer.h"

#include <csignal>
#include <future>
#include <memory>
#include <thread>
#include <utility>

#include <gtest/gtest.h>
#include <pthread.h>

namespace {

/// Reports the thread on which it is destroyed, and waits there for leave.
class CWitness
{
public:
    CWitness(std::promise<std::thread::id>& destroyed, std::shared_future<void> leave)
        : m_destroyed(&destroyed), m_leave(std::move(leave))
    {
    }
    CWitness(CWitness&& other) noexcept
        : m_destroyed(std::exchange(other.m_destroyed, nullptr)), m_leave(other.m_leave)
    {
    }
    CWitness& operator=(CWitness&&) = delete;
    ~CWitness()
    {
        if (m_destroyed != nullptr) {
            m_leave.wait();
            m_destroyed->set_value(std::this_thread::get_id());
        }
    }

private:
    std::promise<std::thread::id>* m_destroyed;
    std::shared_future<void> m_leave;
};

std::shared_future<void> AtOnce()
{
    std::promise<void> leave;
    leave.set_value();
    return leave.get_future().share();
}

} // namespace

TEST(Disposer, DestroysWhatIsLargeOnAThreadOfItsOwn)
{
    DisposerC disposer;
    std::promise<std::thread::id> destroyed;
    std::promise<void> leave;
    disposer.Destroy(CWitness(destroyed, leave.get_future().share()), DisposerC::kLeastBytes);
    EXPECT_EQ(DisposerC::kLeastBytes, disposer.Pending()); // nobody waits for it here
    leave.set_value();
    EXPECT_NE(std::this_thread::get_id(), destroyed.get_future().get());
}

TEST(Disposer, DestroysWhatIsSmallAtOnce)
{
    DisposerC disposer;
    std::promise<std::thread::id> destroyed;
    disposer.Destroy(CWitness(destroyed, AtOnce()), DisposerC::kLeastBytes - 1);
    EXPECT_EQ(std::this_thread::get_id(), destroyed.get_future().get());
    EXPECT_EQ(0U, disposer.Pending());
}

TEST(Disposer, DestroysWhatIsLeftWhenItEnds)
{
    std::promise<std::thread::id> first;
    std::promise<std::thread::id> second;
    {
        DisposerC disposer;
        disposer.Destroy(CWitness(first, AtOnce()), DisposerC::kLeastBytes);
        disposer.Destroy(CWitness(second, AtOnce()), DisposerC::kLeastBytes);
    }
    EXPECT_EQ(first.get_future().get(), second.get_future().get());
}

TEST(Disposer, DestroysHereWithoutAThreadAndLeavesTheSignalsAlone)
{
    sigset_t before;
    ASSERT_EQ(0, ::pthread_sigmask(SIG_SETMASK, nullptr, &before));
    pthread_attr_t usual;
    pthread_attr_t larger;
    ASSERT_EQ(0, ::pthread_getattr_default_np(&usual));
    ASSERT_EQ(0, ::pthread_getattr_default_np(&larger));
    ASSERT_EQ(0, ::pthread_attr_setstacksize(&larger, std::size_t{1} << 47U)); // than there is room
    ASSERT_EQ(0, ::pthread_setattr_default_np(&larger));
    DisposerC disposer;
    std::promise<std::thread::id> destroyed;
    disposer.Destroy(CWitness(destroyed, AtOnce()), DisposerC::kLeastBytes);
    EXPECT_EQ(0, ::pthread_setattr_default_np(&usual));
    EXPECT_EQ(std::this_thread::get_id(), destroyed.get_future().get());
    sigset_t after;
    ASSERT_EQ(0, ::pthread_sigmask(SIG_SETMASK, nullptr, &after));
    for (const int signal : {SIGTERM, SIGINT}) {
        EXPECT_EQ(::sigismember(&before, signal), ::sigismember(&after, signal)) << signal;
    }
}
