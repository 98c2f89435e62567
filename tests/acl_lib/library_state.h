// What a program and the platform can see of the library, in words: its policies, tables, settings
// and connection with all their fields but links and spare words, and how much the platform has
// been given.
#ifndef TESTS_ACL_LIB_LIBRARY_STATE_H
#define TESTS_ACL_LIB_LIBRARY_STATE_H

#include <ostream>
#include <sstream>
#include <string>

#include "tests/acl_lib/library_test.h"

namespace acl_test {

// A policy's fields and the bytes of its rules.
inline void describe(std::ostream &out, const AclPolicy &policy) {
  out << policy.policyName << ": " << policy.ruleCount << " rules, " << policy.usedSize << " of "
      << policy.bufferSize << " bytes, attribute " << policy.policyAttr << ", state "
      << policy.stateFlags << ", open at ";
  if (policy.openRule == nullptr) {
    out << "none";
  } else {
    out << policy.openRule - policy.ruleBuffer;
  }
  const std::size_t length = policy.ruleBuffer == nullptr ? 0 : policy.bufferSize;
  out << '\n' << test_support::hexDump(test_support::copyOf(policy.ruleBuffer, length));
}

inline void describeStore(std::ostream &out) {
  out << "store:";
  for (AclPolicyHandle policy = aclFindFirstPolicy(); policy != 0;
       policy = aclGetNextPolicy(policy)) {
    out << ' ' << reinterpret_cast<const AclPolicy *>(policy)->policyName;
  }
  out << '\n';
}

inline void describeRuleTable(std::ostream &out) {
  out << "rule table of " << gClientEntryList.count << ":";
  const AclClientEntry *entry = gClientEntryList.first;
  for (std::int32_t i = 0; i < gClientEntryList.count; ++i, entry = entry->next) {
    out << '\n'
        << entry->name << ": word " << entry->ruleWord << ", attributes " << entry->attrA << ' '
        << entry->attrB << ", hits " << entry->permitHits << '/' << entry->denyHits << ", "
        << entry->termCount << " terms\n"
        << test_support::hexDump(test_support::copyOf(entry->terms, sizeof(entry->terms)));
  }
  out << '\n';
}

inline void describe(std::ostream &out, const AclApplReq &request) {
  out << "\n  " << request.seqNo << ' ' << request.name << ": code " << request.reqCode
      << ", cookie " << request.cookie << ", kind " << int{request.kind} << ", tag " << request.tag;
}

inline void describePendingRequests(std::ostream &out) {
  out << "pending requests up to " << aclReqSeqCounter << ":";
  AclApplInfo *const first = gaclApplReqList.first;
  AclApplInfo *application = first;
  while (application != nullptr) {
    out << "\napplication " << int{application->applId};
    for (AclApplReq *request = aclFindFirstApplReq(application); request != nullptr;
         request = aclFindNextApplReq(request)) {
      describe(out, *request);
    }
    application = application->next == first ? nullptr : application->next;
  }
  out << '\n';
}

inline void describeConnection(std::ostream &out) {
  const TransHandle *handle = aclHandle;
  out << "handle " << handle;
  if (handle != nullptr) {
    const auto length = static_cast<std::size_t>(handle->builder.cursor - handle->builder.start);
    out << " with peer " << handle->peerId << ", connected " << handle->connected << ", to send:\n"
        << test_support::hexDump(test_support::copyOf(handle->builder.start, length));
  }
  out << ", peer " << aclPeerId << ", trace buffer " << aclTraceBufferHandle << ", callbacks "
      << reinterpret_cast<const void *>(aclMsgCallback) << ' '
      << reinterpret_cast<const void *>(aclConnectionHandler) << ", synchronous channel "
      << aclLibSyncConfigService << ' ' << aclLibSyncConfigPeerId << ", events "
      << _evlog_ACL_ComponentHandle << '\n';
}

inline void describeSettings(std::ostream &out) {
  out << "debug " << aclLibDebug << ", status text " << aclStatusStringBuff << ", trace settings ";
  if (aclState == nullptr) {
    out << "none\n";
  } else {
    out << aclState->debugLevel << ' ' << aclState->printLevel << ' ' << aclState->cliHandle
        << '\n';
  }
}

inline void describePlatform(std::ostream &out) {
  out << fake().sentPackets().size() << " packets sent, " << fake().livePackets() << " held, "
      << fake().clients().size() << " clients, " << fake().pendingWork().size() << " work items, "
      << fake().traceLines().size() << " trace lines, " << RecordingSend::requests().size()
      << " requests recorded\n";
}

inline std::string stateOfTheLibrary() {
  std::ostringstream out;
  describeStore(out);
  describeRuleTable(out);
  describePendingRequests(out);
  describeConnection(out);
  describeSettings(out);
  describePlatform(out);
  return out.str();
}

}  // namespace acl_test

#endif  // TESTS_ACL_LIB_LIBRARY_STATE_H
