#ifndef KESTROVE_TESTING_EVENTFORM_H
#define KESTROVE_TESTING_EVENTFORM_H

#include <cstddef>
#include <string>

#include "platform/BElement.h"

namespace Kestrove::Testing {

/// Looks at an event that a test pushes to its subscribers. An event of another name than the
/// service has is fine where somebody has subscribed to it.
///
/// @param event its name.
/// @param payload its elements.
/// @param subscribers how many clients have subscribed to it.
/// @return why nothing would be called with it, as a line; empty when all is well.
std::string ProblemOfPush(const std::string& event, const BListC& payload, std::size_t subscribers);

} // namespace Kestrove::Testing

#endif
