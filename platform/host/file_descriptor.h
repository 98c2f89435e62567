// Ownership of one open file descriptor.
#ifndef PLATFORM_HOST_FILE_DESCRIPTOR_H
#define PLATFORM_HOST_FILE_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace swplat {

// Closes its descriptor when it goes. -1 stands for none. Not thread-safe for one object.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int number) : number_(number) {}
  FileDescriptor(FileDescriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
  FileDescriptor &operator=(FileDescriptor &&other) noexcept {
    if (this != &other) {
      close();
      number_ = std::exchange(other.number_, -1);
    }
    return *this;
  }
  FileDescriptor(const FileDescriptor &) = delete;
  FileDescriptor &operator=(const FileDescriptor &) = delete;
  ~FileDescriptor() { close(); }

  explicit operator bool() const { return number_ >= 0; }
  int number() const { return number_; }

  void close() {
    if (number_ >= 0) {
      ::close(std::exchange(number_, -1));
    }
  }

 private:
  int number_ = -1;
};

}  // namespace swplat

#endif  // PLATFORM_HOST_FILE_DESCRIPTOR_H
