// The simulated service, called with whatever a client may send: every request is answered or
// refused with a reason, and the machine goes on driving.

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "simulator/service/ServiceCore.h"
#include "tests/fuzz/FuzzMessages.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ServiceCoreOptions options;
    options.simulation.speed = 2.0;
    CServiceCore service(std::move(options));
    for (const MessageC& message : FuzzMessages::Decode(data, size).messages) {
        if (message.arguments == nullptr) {
            continue;
        }
        if (message.kind == MessageC::EKind::Request) {
            const Answer answer = service.Request(message.method, *message.arguments);
            FuzzMessages::Require(answer.error.empty() || answer.value == nullptr,
                                  "a call that fails has no value");
        } else {
            service.Notify(message.method, *message.arguments);
        }
        service.Advance(0.1);
    }
    const Pose pose = service.World().TruePose();
    FuzzMessages::Require(std::isfinite(pose.position.x) && std::isfinite(pose.position.y) &&
                              std::isfinite(pose.heading),
                          "the machine stands somewhere");
    return 0;
}
