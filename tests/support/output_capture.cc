#include "tests/support/output_capture.h"

#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <system_error>

namespace test_support {
namespace {

[[noreturn]] void failWithErrno(const char *what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

OutputCapture::Stream::Stream(std::FILE *stream, int descriptor)
    : stream_(stream), descriptor_(descriptor), saved_(dup(descriptor)), file_(std::tmpfile()) {
  std::fflush(stream_);
  if (saved_ < 0 || file_ == nullptr || dup2(fileno(file_), descriptor_) < 0) {
    failWithErrno("output capture");
  }
}

std::string OutputCapture::Stream::finish() {
  std::fflush(stream_);
  if (dup2(saved_, descriptor_) < 0) failWithErrno("output capture");
  close(saved_);
  if (std::fseek(file_, 0, SEEK_SET) != 0) failWithErrno("output capture");
  std::string text;
  char part[4096];
  for (std::size_t count; (count = std::fread(part, 1, sizeof(part), file_)) > 0;) {
    text.append(part, count);
  }
  std::fclose(file_);
  return text;
}

OutputCapture::OutputCapture()
    : outputStream_(stdout, STDOUT_FILENO), errorStream_(stderr, STDERR_FILENO) {}

void OutputCapture::finish() {
  if (finished_) return;
  finished_ = true;
  std::cout.flush();
  output_ = outputStream_.finish();
  error_ = errorStream_.finish();
}

const std::string &OutputCapture::standardOutput() {
  finish();
  return output_;
}

const std::string &OutputCapture::standardError() {
  finish();
  return error_;
}

}  // namespace test_support
