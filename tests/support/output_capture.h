// What a program part writes to its standard output and standard error.
#ifndef TESTS_SUPPORT_OUTPUT_CAPTURE_H
#define TESTS_SUPPORT_OUTPUT_CAPTURE_H

#include <cstdio>
#include <string>

namespace test_support {

// Catches everything that is written to descriptors 1 and 2 while it lives: C stdio, std::cout and
// direct writes alike. A test's own messages are caught too, so check results after finish(). One
// capture at a time; other threads must not open or close descriptors 1 and 2.
class OutputCapture {
 public:
  OutputCapture();
  ~OutputCapture() { finish(); }
  OutputCapture(const OutputCapture &) = delete;
  OutputCapture &operator=(const OutputCapture &) = delete;

  // Ends the capture: the descriptors are as they were before. More calls have no effect.
  void finish();

  // What was written; each ends the capture.
  const std::string &standardOutput();
  const std::string &standardError();

 private:
  class Stream {
   public:
    Stream(std::FILE *stream, int descriptor);
    std::string finish();

   private:
    std::FILE *stream_;
    int descriptor_;
    int saved_;  // a copy of the descriptor before the capture
    std::FILE *file_;
  };

  Stream outputStream_;
  Stream errorStream_;
  bool finished_ = false;
  std::string output_;
  std::string error_;
};

}  // namespace test_support

#endif  // TESTS_SUPPORT_OUTPUT_CAPTURE_H
