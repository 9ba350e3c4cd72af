#include "platform/MPICallback.h"

#include <memory>

#include <gtest/gtest.h>

namespace {

/// Takes events by two handlers of different results, and keeps the payload seen last.
class CListener
{
public:
    int TakeForSeven(BListC* payload)
    {
        m_payload = payload;
        return 7;
    }
    int TakeForMinusOne(BListC* payload)
    {
        m_payload = payload;
        return -1;
    }
    const BListC* Payload() const { return m_payload; }

private:
    BListC* m_payload = nullptr;
};

TEST(MPICallback, ReturnsWhatItsHandlerReturns)
{
    CListener listener;
    BListC payload(nullptr);
    MPICallback<CListener> seven(&listener, &CListener::TakeForSeven);
    MPICallback<CListener> minusOne(&listener, &CListener::TakeForMinusOne);

    EXPECT_EQ(seven.Callback(&payload), 7);
    EXPECT_EQ(minusOne.Callback(&payload), -1);
}

TEST(MPICallback, HandsThePayloadOnAsItIs)
{
    CListener listener;
    BListC payload(nullptr);
    payload.AddInt(5);
    MPICallback<CListener> callback(&listener, &CListener::TakeForSeven);

    callback.Callback(&payload);

    EXPECT_EQ(listener.Payload(), &payload);
    EXPECT_EQ(payload.Size(), 1);
}

TEST(MPICallback, HandsOnThatThereIsNoPayload)
{
    CListener listener;
    MPICallback<CListener> callback(&listener, &CListener::TakeForSeven);

    EXPECT_EQ(callback.Callback(nullptr), 7);

    EXPECT_EQ(listener.Payload(), nullptr);
}

TEST(MPICallback, LeavesItsObjectAliveWhenItIsDestroyed)
{
    auto listener = std::make_unique<CListener>();
    {
        const std::unique_ptr<MPICallbackBase> callback =
            std::make_unique<MPICallback<CListener>>(listener.get(), &CListener::TakeForSeven);
    }
    EXPECT_EQ(listener->Payload(), nullptr);
}

} // namespace
