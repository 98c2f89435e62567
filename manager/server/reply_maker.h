// Replies, field by field from reply tables.
#ifndef MANAGER_SERVER_REPLY_MAKER_H
#define MANAGER_SERVER_REPLY_MAKER_H

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "acl_lib/client/reply_bodies.h"
#include "acl_lib/encoding/message_body.h"
#include "manager/model/status.h"

namespace aclmgr {

// Fills the reply to one request, whose body has the table Request. A reply is zero but for what is
// echoed of the request, field by field, or put.
template <typename Request, typename Reply>
class ReplyMaker {
 public:
  // The reply's code is the request's.
  ReplyMaker(std::span<const std::byte> request, Status status)
      : request_(zeroExtended(request)), reply_(Reply::size), writer_(bytesOfReply()) {
    writer_.put(Reply::code, reader().get(Request::code));
    writer_.put(Reply::status, static_cast<std::int16_t>(status));
  }

  void echoHeader() {
    writer_.put(Reply::header, reader().get(Request::header).template subspan<acl::kStatusWidth>());
  }
  template <std::size_t Width>
  void echo(const acl::Field<Request, acl::Text<Width>> &from,
            const acl::Field<Reply, acl::Text<Width>> &to) {
    writer_.put(to, std::string(reader().get(from)).c_str());
  }
  // A number may be wider in the reply.
  template <std::integral Asked, std::integral Answered>
    requires(sizeof(Asked) <= sizeof(Answered))
  void echo(const acl::Field<Request, Asked> &from, const acl::Field<Reply, Answered> &to) {
    writer_.put(to, reader().get(from));
  }

  template <typename Value, typename Given>
  void put(const acl::Field<Reply, Value> &field, Given &&value) {
    writer_.put(field, std::forward<Given>(value));
  }

  std::vector<std::byte> take() { return std::move(reply_); }

 private:
  using RequestBytes = std::array<std::byte, Request::size>;

  static RequestBytes zeroExtended(std::span<const std::byte> request) {
    RequestBytes bytes{};
    std::ranges::copy(request.first(std::min(request.size(), bytes.size())), bytes.begin());
    return bytes;
  }
  std::span<std::byte, Reply::size> bytesOfReply() {
    return std::span<std::byte, Reply::size>(reply_.data(), Reply::size);
  }
  acl::BodyReader<Request> reader() const { return acl::BodyReader<Request>(request_); }

  RequestBytes request_;
  std::vector<std::byte> reply_;
  acl::BodyWriter<Reply> writer_;
};

}  // namespace aclmgr

#endif  // MANAGER_SERVER_REPLY_MAKER_H
