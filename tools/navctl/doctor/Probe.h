#ifndef KESTROVE_TOOLS_NAVCTL_DOCTOR_PROBE_H
#define KESTROVE_TOOLS_NAVCTL_DOCTOR_PROBE_H

#include <string>

/// Asks what listens on the service's port in words that programs of other protocols answer: those
/// that read line by line are silent as long as no line ends, as a service that hangs is.
///
/// @param seconds how long to wait for the answer.
/// @return what answers when that is not a message of the service, as words that may follow others:
///         "it says: HTTP/1.0 200 OK"; empty when nothing answers.
std::string AnswerOfOtherProtocol(double seconds);

#endif
