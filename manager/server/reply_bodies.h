// The bodies of the manager's replies that clients' libraries hand on without reading them. Those
// that they read are in acl_lib/client/reply_bodies.h.
//
// A reply looks like its request: the code and the status stand over the first four bytes, and what
// identifies the request is echoed where it stood.
#ifndef MANAGER_SERVER_REPLY_BODIES_H
#define MANAGER_SERVER_REPLY_BODIES_H

#include "acl_lib/client/reply_bodies.h"
#include "acl_lib/encoding/message_body.h"

namespace aclmgr {

// To a client's announcement of itself.
struct ProcessInfoReplyBody {
  static constexpr std::size_t size = 628;

  static constexpr acl::Field<ProcessInfoReplyBody, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<ProcessInfoReplyBody, std::int16_t> status{2, "status"};
  static constexpr acl::Field<ProcessInfoReplyBody, acl::Name> processName{592, "processName"};

  static constexpr acl::FieldTable table{code, status, processName};
};
static_assert(acl::isWellFormed<ProcessInfoReplyBody>());

// To adding, refreshing, modifying and deleting a policy.
struct PolicyReplyBody {
  static constexpr std::size_t size = 652;

  static constexpr acl::Field<PolicyReplyBody, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<PolicyReplyBody, std::int16_t> status{2, "status"};
  static constexpr acl::Field<PolicyReplyBody, acl::EchoedHeader> header{4, "header"};
  static constexpr acl::Field<PolicyReplyBody, acl::Name> policyName{592, "policyName"};

  static constexpr acl::FieldTable table{code, status, header, policyName};
};
static_assert(acl::isWellFormed<PolicyReplyBody>());

// To applying a policy and to taking it off.
struct BindingReplyBody {
  static constexpr std::size_t size = 2096;

  static constexpr acl::Field<BindingReplyBody, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<BindingReplyBody, std::int16_t> status{2, "status"};
  static constexpr acl::Field<BindingReplyBody, acl::EchoedHeader> header{4, "header"};
  static constexpr acl::Field<BindingReplyBody, acl::Name> policyName{608, "policyName"};
  static constexpr acl::Field<BindingReplyBody, std::uint8_t> applyFlags{744, "applyFlags"};
  static constexpr acl::Field<BindingReplyBody, std::uint32_t> port{748, "port"};
  static constexpr acl::Field<BindingReplyBody, std::uint32_t> vlan{2068, "vlan"};
  static constexpr acl::Field<BindingReplyBody, std::uint8_t> direction{2072, "direction"};

  static constexpr acl::FieldTable table{code,       status, header, policyName,
                                         applyFlags, port,   vlan,   direction};
};
static_assert(acl::isWellFormed<BindingReplyBody>());

// To a request whose code the manager does not know: the request's header, so that the application
// recognises its request.
struct UnknownCodeReplyBody {
  static constexpr std::size_t size = 592;

  static constexpr acl::Field<UnknownCodeReplyBody, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<UnknownCodeReplyBody, std::int16_t> status{2, "status"};
  static constexpr acl::Field<UnknownCodeReplyBody, acl::EchoedHeader> header{4, "header"};

  static constexpr acl::FieldTable table{code, status, header};
};
static_assert(acl::isWellFormed<UnknownCodeReplyBody>());

}  // namespace aclmgr

#endif  // MANAGER_SERVER_REPLY_BODIES_H
