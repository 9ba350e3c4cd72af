#ifndef KESTROVE_TESTS_INTEGRATION_POSITIONFEED_H
#define KESTROVE_TESTS_INTEGRATION_POSITIONFEED_H

/// Feeds a thousand position samples a second for so many seconds to a scripted service, and checks
/// that every one has arrived whole, once and in order.
void FeedAndCheck(int seconds);

#endif
