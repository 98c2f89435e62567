#include "manager/server/replies.h"

#include <algorithm>
#include <array>
#include <string>

#include "acl_lib/encoding/message_body.h"
#include "acl_lib/policy/policy_bodies.h"
#include "acl_lib/transport/process_info_bodies.h"
#include "manager/server/reply_bodies.h"

namespace aclmgr {
namespace {

// Fills the reply to one request, whose body has the table Request.
template <typename Request, typename Reply>
class ReplyMaker {
 public:
  ReplyMaker(std::span<const std::byte> request, Status status)
      : request_(zeroExtended(request)), reply_(Reply::size), writer_(bytesOfReply()) {
    writer_.put(Reply::code, reader().get(Request::code));
    writer_.put(Reply::status, static_cast<std::int16_t>(status));
  }

  void echoHeader() {
    writer_.put(Reply::header, reader().get(Request::header).template subspan<kStatusWidth>());
  }
  template <std::size_t Width>
  void echo(const acl::Field<Request, acl::Text<Width>> &from,
            const acl::Field<Reply, acl::Text<Width>> &to) {
    writer_.put(to, std::string(reader().get(from)).c_str());
  }
  template <std::integral Value>
  void echo(const acl::Field<Request, Value> &from, const acl::Field<Reply, Value> &to) {
    writer_.put(to, reader().get(from));
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

// The head that requests about policies and rules have in common.
struct RequestHead {
  static constexpr std::size_t size = acl::kRequestHeaderSize;

  static constexpr acl::Field<RequestHead, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<RequestHead, acl::RequestHeader> header{2, "header"};
};

}  // namespace

std::vector<std::byte> processInfoReply(std::span<const std::byte> request, Status status) {
  ReplyMaker<acl::ProcessInfoBody, ProcessInfoReplyBody> reply(request, status);
  reply.echo(acl::ProcessInfoBody::processName, ProcessInfoReplyBody::processName);
  return reply.take();
}

std::vector<std::byte> policyChunkReply(std::span<const std::byte> request, Status status) {
  ReplyMaker<acl::PolicyChunkBody, PolicyReplyBody> reply(request, status);
  reply.echo(acl::PolicyChunkBody::policyName, PolicyReplyBody::policyName);
  return reply.take();
}

std::vector<std::byte> policyReply(std::span<const std::byte> request, Status status) {
  // Modify requests have header and name where delete requests have them.
  using Request = acl::DeletePolicyBody;
  static_assert(acl::ModifyRuleBody::policyName.offset == Request::policyName.offset);
  ReplyMaker<Request, PolicyReplyBody> reply(request, status);
  reply.echoHeader();
  reply.echo(Request::policyName, PolicyReplyBody::policyName);
  return reply.take();
}

std::vector<std::byte> bindingReply(std::span<const std::byte> request, Status status) {
  using Request = acl::PolicyBindingBody;
  ReplyMaker<Request, BindingReplyBody> reply(request, status);
  reply.echoHeader();
  reply.echo(Request::policyName, BindingReplyBody::policyName);
  reply.echo(Request::applyFlags, BindingReplyBody::applyFlags);
  reply.echo(Request::port, BindingReplyBody::port);
  reply.echo(Request::vlan, BindingReplyBody::vlan);
  reply.echo(Request::direction, BindingReplyBody::direction);
  return reply.take();
}

std::vector<std::byte> unknownCodeReply(std::span<const std::byte> request, Status status) {
  ReplyMaker<RequestHead, UnknownCodeReplyBody> reply(request, status);
  reply.echoHeader();
  return reply.take();
}

}  // namespace aclmgr
