#include "example_client.h"

#include <pthread.h>
#include <stdio.h>
#include <time.h>

enum { ANSWER_SECONDS = 5, KEPT_STATUSES = 16 };

/* The callback hands answers from the dispatcher's thread to main. */
static pthread_mutex_t answerLock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t answerCame = PTHREAD_COND_INITIALIZER;
static pthread_cond_t requestShown = PTHREAD_COND_INITIALIZER;
static int answers; /* that came */
static int awaited; /* of those, the ones that main has waited for */
static int wanted;  /* to all requests that main has shown */
static int16_t statuses[KEPT_STATUSES];
static AclMsgCallback programsCallback;

uint32_t numberAt(const void *body, unsigned offset, unsigned bytes) {
  const uint8_t *byte = (const uint8_t *)body + offset;
  uint32_t number = 0;
  while (bytes-- != 0) number = number << 8 | *byte++;
  return number;
}

static struct timespec deadline(void) {
  struct timespec end;
  clock_gettime(CLOCK_REALTIME, &end);
  end.tv_sec += ANSWER_SECONDS;
  return end;
}

/* An answer may be faster than main, which shows a request when it has been sent: it waits then. */
static void receive(void *body) {
  const unsigned code = numberAt(body, 0, 2);
  const int16_t status = (int16_t)numberAt(body, 2, 2);
  const struct timespec end = deadline();
  int timedOut = 0;
  pthread_mutex_lock(&answerLock);
  while (answers >= wanted && timedOut == 0)
    timedOut = pthread_cond_timedwait(&requestShown, &answerLock, &end);
  printf("  answer: code 0x%04x, status %d (%s)\n", code, status, aclStatusText(status));
  if (programsCallback != NULL) programsCallback(body);
  fflush(stdout);
  statuses[answers++ % KEPT_STATUSES] = status;
  pthread_cond_signal(&answerCame);
  pthread_mutex_unlock(&answerLock);
}

/* Waits until `expected` more answers have come. Returns 0 when they did, with that status. */
static int await(const char *request, int expected, int16_t status) {
  const struct timespec end = deadline();
  int bad = 0;
  pthread_mutex_lock(&answerLock);
  wanted += expected;
  pthread_cond_signal(&requestShown);
  for (; expected > 0 && !bad; expected--) {
    int timedOut = 0;
    while (answers <= awaited && timedOut == 0)
      timedOut = pthread_cond_timedwait(&answerCame, &answerLock, &end);
    if (timedOut != 0) fprintf(stderr, "%s: no answer within %d s\n", request, ANSWER_SECONDS);
    bad = timedOut != 0 || statuses[awaited % KEPT_STATUSES] != status;
    awaited++;
  }
  pthread_mutex_unlock(&answerLock);
  return bad;
}

static int awaitSent(const char *request, int32_t sent, int expected, int16_t status) {
  printf("%s\n", request);
  if (sent == 0) return await(request, expected, status);
  fprintf(stderr, "%s: could not be sent (%d)\n", request, (int)sent);
  return 1;
}

int awaitAnswers(const char *request, int32_t sent, int expected) {
  return awaitSent(request, sent, expected, 0);
}

int awaitStatus(const char *request, int32_t sent, int16_t status) {
  return awaitSent(request, sent, 1, status);
}

int connectToManager(const char *program, AclMsgCallback onAnswer) {
  const struct timespec pause = {0, 10L * 1000 * 1000};
  int tries = ANSWER_SECONDS * 100;
  setvbuf(stdout, NULL, _IOLBF, BUFSIZ); /* keeps step with what goes to standard error */
  programsCallback = onAnswer;
  if (aclLibConnect(receive) != 0) {
    fprintf(stderr, "%s: the messaging service is not available\n", program);
    return 1;
  }
  while (aclLibSendProcessInfo(program) != 0) { /* the connection comes up in the background */
    if (--tries == 0) {
      fprintf(stderr, "%s: no ACL manager within %d s\n", program, ANSWER_SECONDS);
      return 1;
    }
    nanosleep(&pause, NULL);
  }
  return awaitAnswers("announce the process", 0, 1);
}

int finish(const char *program, int bad) {
  printf("%s: %s\n", program, bad ? "failed" : "every request was answered as expected");
  return bad;
}
