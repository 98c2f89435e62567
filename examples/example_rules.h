/* The encoded rules that the examples about dynamic rules need. */
#ifndef EXAMPLES_EXAMPLE_RULES_H
#define EXAMPLES_EXAMPLE_RULES_H

#include <acl_lib.h>
#include <stdint.h>

enum { ACCEPT = 1, DENY = 2 };

/*
 * Encodes a rule about an IPv4 source.
 *   prefix, bits  "198.51.100.0", 24
 *   counter       name of a counter to count the matches in, null for none
 *   action        ACCEPT or DENY
 * Returns the policy that holds it, 0 without memory. The encoded rule lies at the start of its
 * ruleBuffer, with as much room behind it as the calls that take an encoded rule copy.
 */
AclPolicyHandle encodeSourceRule(const char *prefix, int bits, const char *counter, int32_t action);

/* Where the encoded rule of such a policy lies. */
const void *encodedRuleOf(AclPolicyHandle policy);

#endif
