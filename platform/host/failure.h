// Failures inside the host platform, and how they leave it: exceptions inside, results and errno at
// the C interface.
#ifndef PLATFORM_HOST_FAILURE_H
#define PLATFORM_HOST_FAILURE_H

#include <cerrno>
#include <new>
#include <system_error>

namespace swplat {

// Throws the present errno as a std::system_error. `what` names the thing that failed.
[[noreturn]] inline void throwErrno(const char *what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// Throws a chosen error number.
[[noreturn]] inline void throwError(int error, const char *what) {
  throw std::system_error(error, std::generic_category(), what);
}

// Runs the body of an exported call. When it throws, sets errno to the reason and returns `failed`.
template <typename Result, typename Body>
Result resultOr(Result failed, Body &&body) noexcept {
  try {
    return body();
  } catch (const std::system_error &error) {
    errno = error.code().value();
  } catch (const std::bad_alloc &) {
    errno = ENOMEM;
  } catch (...) {
    errno = EIO;
  }
  return failed;
}

}  // namespace swplat

#endif  // PLATFORM_HOST_FAILURE_H
