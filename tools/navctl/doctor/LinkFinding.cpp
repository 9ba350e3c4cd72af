#include "tools/navctl/doctor/LinkFinding.h"

CFinding LinkFinding(const LinkErrorC& error)
{
    switch (error.code) {
    case ELinkError::TimedOut:
        return {"reply", "connected, but no answer: " + error.text,
                "look whether the service hangs, and start it again", kExitNoReply};
    case ELinkError::ServiceError:
        return OtherProgramFinding("what listens there is no navigation service: " + error.text);
    default:
        return OtherProgramFinding(
            "something listens that does not speak the service's protocol: " + error.text);
    }
}

CFinding OtherProgramFinding(const std::string& text)
{
    return {"protocol", text,
            "end the other program on port 5010, and start the navigation service",
            kExitProtocolError};
}
