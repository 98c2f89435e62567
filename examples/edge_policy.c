/*
 * An edge policy, from the first rule to its deletion.
 *
 * Builds the filter that a network edge would put on its uplink (anti-spoofing, management access,
 * TCP and ICMP hygiene, services, default deny), prints it, downloads it to the ACL manager,
 * applies it to a port and VLAN, refreshes it, takes it off again and deletes it. Every answer is
 * printed as the library's callback delivers it.
 *
 * Exit status: 0 when every request was answered with status 0; 1 otherwise, or when an answer does
 * not come within five seconds.
 */
#include <acl_lib.h>
#include <arpa/inet.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

enum { ANSWER_SECONDS = 5, UPLINK_VLAN = 100, UPLINK_PORT = (1 << 16) | 24 /* slot 1, port 24 */ };

/* Type codes of the conditions and actions used here. */
enum { SOURCE_IPV4 = 0, DESTINATION_IPV4 = 1, L4_DESTINATION_PORT = 13 };
enum { ACCEPT = 1, DENY = 2, LOG = 10 };
enum { PROTO_ICMP = 1, PROTO_TCP = 6, PROTO_UDP = 17 };
enum { TCP_FIN_SYN = 0x03, TCP_ACK = 0x10, TCP_ALL = 0x3F };

static AclPolicyHandle policy;
static uint32_t rule; /* the rule being built */

/* ---- Answers: the callback hands them from the dispatcher's thread to main. ------------------ */

static pthread_mutex_t answerLock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t answerCame = PTHREAD_COND_INITIALIZER;
static int answers;
static int failures;

static void onAnswer(void *body) {
  const uint8_t *bytes = body;
  const unsigned code = (unsigned)bytes[0] << 8 | bytes[1];
  const int status = (int16_t)((unsigned)bytes[2] << 8 | bytes[3]);
  pthread_mutex_lock(&answerLock);
  printf("  answer: code 0x%04x, status %d\n", code, status);
  fflush(stdout);
  answers++;
  if (status != 0) failures++;
  pthread_cond_signal(&answerCame);
  pthread_mutex_unlock(&answerLock);
}

/* Waits for `expected` more answers. Returns 0 when they came and their statuses were 0. */
static int awaitAnswers(const char *request, int sent, int expected) {
  static int awaited;
  struct timespec deadline;
  int timedOut = 0;
  printf("%s\n", request);
  if (sent != 0) {
    fprintf(stderr, "%s: could not be sent (%d)\n", request, sent);
    return 1;
  }
  clock_gettime(CLOCK_REALTIME, &deadline);
  deadline.tv_sec += ANSWER_SECONDS;
  pthread_mutex_lock(&answerLock);
  awaited += expected;
  while (answers < awaited && timedOut == 0)
    timedOut = pthread_cond_timedwait(&answerCame, &answerLock, &deadline);
  const int bad = answers < awaited || failures != 0;
  pthread_mutex_unlock(&answerLock);
  if (timedOut != 0) fprintf(stderr, "%s: no answer within %d s\n", request, ANSWER_SECONDS);
  return bad;
}

/* ---- Words of the policy: all data behind pointers is in network byte order. ------------------
 */

static void openRule(const char *name) {
  aclLibNewRule(policy, name, ++rule);
}

static void address(uint32_t type, const char *prefix, int bits) {
  uint32_t data[2]; /* address, mask */
  inet_pton(AF_INET, prefix, &data[0]);
  data[1] = htonl(bits == 0 ? 0 : 0xFFFFFFFFu << (32 - bits));
  aclLibAddRuleCondIPAddr(policy, rule, type, data);
}

static void protocol(uint8_t number) {
  const uint8_t data[2] = {number, 0xFF};
  aclLibAddRuleCondProtocol(policy, rule, data);
}

static void destinationPorts(uint16_t low, uint16_t high) {
  const uint16_t data[3] = {htons(low), htons(high), 0xFFFF};
  aclLibAddRuleCondPortRange(policy, rule, L4_DESTINATION_PORT, data);
}

static void tcpFlags(uint8_t flags, uint8_t mask) {
  const uint8_t data[2] = {flags, mask};
  aclLibAddRuleCondTcpFlags(policy, rule, data);
}

static void icmpType(uint8_t type) {
  const uint8_t data[2] = {type, 0xFF};
  aclLibAddRuleCondICMPType(policy, rule, data);
}

static void count(uint16_t number) {
  uint8_t description[38] = {0}; /* begins with the counter's number */
  const uint16_t big = htons(number);
  memcpy(description, &big, sizeof(big));
  aclLibConfigActionCount(policy, rule, description);
}

static void queue(uint8_t number) {
  aclLibConfigActionQos(policy, rule, &number);
}

static void mirror(const char *name) {
  char data[33] = {0};
  strncpy(data, name, sizeof(data) - 1);
  aclLibConfigActionMirror(policy, rule, data);
}

static void finish(int32_t verdict) {
  aclLibConfigRuleAction(policy, rule, verdict);
}

/* ---- The policy. ------------------------------------------------------------------------------
 */

static void buildAntiSpoofing(void) {
  static const struct {
    const char *name, *prefix;
    int bits;
  } spoofed[] = {
      {"spoofed-private-10", "10.0.0.0", 8},      {"spoofed-private-172", "172.16.0.0", 12},
      {"spoofed-private-192", "192.168.0.0", 16}, {"spoofed-loopback", "127.0.0.0", 8},
      {"spoofed-own-prefix", "203.0.113.0", 24},
  };
  for (size_t i = 0; i < sizeof(spoofed) / sizeof(spoofed[0]); i++) {
    openRule(spoofed[i].name);
    address(SOURCE_IPV4, spoofed[i].prefix, spoofed[i].bits);
    count(1);
    finish(DENY);
  }
}

static void buildManagementAccess(void) {
  static const uint16_t ports[] = {22, 443};
  for (size_t i = 0; i < 2; i++) {
    openRule(i == 0 ? "management-ssh" : "management-https");
    address(SOURCE_IPV4, "198.51.100.16", 28);
    address(DESTINATION_IPV4, "203.0.113.1", 32);
    protocol(PROTO_TCP);
    destinationPorts(ports[i], ports[i]);
    count((uint16_t)(2 + i));
    queue(6);
    finish(ACCEPT);
  }
  openRule("management-other");
  address(DESTINATION_IPV4, "203.0.113.1", 32);
  finish(LOG);
  finish(DENY);
}

static void buildTcp(void) {
  openRule("tcp-null-scan");
  protocol(PROTO_TCP);
  tcpFlags(0, TCP_ALL);
  count(4);
  finish(DENY);
  openRule("tcp-syn-and-fin");
  protocol(PROTO_TCP);
  tcpFlags(TCP_FIN_SYN, TCP_FIN_SYN);
  mirror("intrusion-detection");
  finish(DENY);
  openRule("tcp-established");
  protocol(PROTO_TCP);
  tcpFlags(TCP_ACK, TCP_ACK);
  finish(ACCEPT);
}

static void buildIcmpAndServices(void) {
  static const struct {
    const char *name;
    uint8_t type;
  } icmp[] = {{"icmp-echo-request", 8}, {"icmp-echo-reply", 0}, {"icmp-unreachable", 3}};
  for (size_t i = 0; i < sizeof(icmp) / sizeof(icmp[0]); i++) {
    openRule(icmp[i].name);
    protocol(PROTO_ICMP);
    icmpType(icmp[i].type);
    queue(1);
    finish(ACCEPT);
  }
  openRule("dns");
  address(DESTINATION_IPV4, "203.0.113.53", 32);
  protocol(PROTO_UDP);
  destinationPorts(53, 53);
  queue(4);
  finish(ACCEPT);
  openRule("web");
  address(DESTINATION_IPV4, "203.0.113.80", 32);
  protocol(PROTO_TCP);
  destinationPorts(80, 443);
  finish(ACCEPT);
}

static void buildDefault(void) {
  openRule(NULL); /* named by the library */
  count(5);
  finish(DENY);
}

int main(void) {
  setvbuf(stdout, NULL, _IOLBF, BUFSIZ); /* keeps step with the dump on standard error */
  if (aclLibConnect(onAnswer) != 0) {
    fprintf(stderr, "edge_policy: the messaging service is not available\n");
    return 1;
  }

  policy = aclLibNewPolicy("edge-in");
  if (policy == 0) return 1;
  buildAntiSpoofing();
  buildManagementAccess();
  buildTcp();
  buildIcmpAndServices();
  buildDefault();
  aclLibEndRule(policy);
  aclLibDumpRules(policy);

  /* The connection comes up in the background: announce the process until that succeeds. */
  const struct timespec pause = {0, 10L * 1000 * 1000};
  int tries = ANSWER_SECONDS * 100;
  while (aclLibSendProcessInfo("edge_policy") != 0) {
    if (--tries == 0) {
      fprintf(stderr, "edge_policy: no ACL manager within %d s\n", ANSWER_SECONDS);
      return 1;
    }
    nanosleep(&pause, NULL);
  }

  int bad = awaitAnswers("announce the process", 0, 1);
  bad |= awaitAnswers("add the policy", aclLibAddPolicy(policy), 1);
  /* Only configuring marks a policy as added, so the first time it downloads the policy again: the
   * manager answers that request too. */
  bad |= awaitAnswers("apply it to port 1:24, VLAN 100",
                      aclLibConfigPolicy(policy, UPLINK_VLAN, UPLINK_PORT, 0, NULL), 2);
  bad |= awaitAnswers("refresh it", aclLibRefreshPolicy(policy), 1);
  bad |= awaitAnswers("take it off the port",
                      aclLibUnconfigPolicy(policy, UPLINK_VLAN, UPLINK_PORT, 0, NULL), 1);
  bad |= awaitAnswers("delete it", aclLibDeletePolicy(policy, NULL), 1);
  puts(bad ? "edge_policy: failed" : "edge_policy: every request was answered with status 0");
  return bad;
}
