// The layout of an encoded rule's header.
#include "acl_lib/encoding/rule_format.h"

static_assert(acl::kRuleNameOffset == 0);
static_assert(acl::kRuleNameWidth == 33);
static_assert(acl::kRuleIdOffset == 36);
static_assert(acl::kRuleWordOffset == 44);
static_assert(acl::kRuleHeaderSize == 48);
static_assert(acl::kEntryTypeOffset == 0);
static_assert(acl::kEntryLengthOffset == 2);
static_assert(acl::kEntryHeaderSize == 4);
static_assert(acl::kRuleLengthModulus == 1024);
static_assert(acl::paddedLength(0) == 0);
static_assert(acl::paddedLength(1) == 4);
static_assert(acl::paddedLength(4) == 4);
