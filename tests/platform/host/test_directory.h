// The runtime directory of a test executable, and waiting.
#ifndef TESTS_PLATFORM_HOST_TEST_DIRECTORY_H
#define TESTS_PLATFORM_HOST_TEST_DIRECTORY_H

#include <functional>
#include <string>

namespace host_test {

// Returns the runtime directory. It is made, and SWPLAT_DIR is set to it, before the first test of
// the executable runs; it is removed at the end.
const std::string &directory();

// Returns a name that no other call has returned, to keep tests apart.
std::string uniqueName(const std::string &stem);

// Waits until `done` returns true. Returns false when it has not within ten seconds.
bool waitUntil(const std::function<bool()> &done);

}  // namespace host_test

#endif  // TESTS_PLATFORM_HOST_TEST_DIRECTORY_H
