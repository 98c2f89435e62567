/*
 * Classifier slices: a resource that runs out.
 *
 * Reserves slices of one stage until the manager has none left, shows what it says then, gives one
 * back, takes it again, and gives back everything.
 *
 * Exit status: 0 when the manager ran out of slices and took all of them back, else 1.
 */
#include <stdio.h>
#include <string.h>

#include "example_client.h"

enum {
  APPLICATION = 4, /* a row of aclGlobalApps */
  SLICE_REPLY = 0x301D,
  FAILED_ACTION = 16, /* where the library writes what has failed, */
  FAILED_TYPE = 49,   /* and for which type of slices */
  STAGE = 1,
  PERMIT_DENY = 4, /* a type of slices */
  MOST = 1000,     /* more than any manager has */
  NONE_LEFT = -41
};

static int16_t lastStatus;

static void keepStatus(void *body) {
  lastStatus = (int16_t)numberAt(body, 2, 2);
  if (numberAt(body, 0, 2) != SLICE_REPLY || lastStatus == 0) return;
  printf("  failed: %s of type %s\n", (const char *)body + FAILED_ACTION,
         (const char *)body + FAILED_TYPE);
}

/* Reserves slices, or gives them back. Returns the manager's status. */
static int16_t slices(uint32_t unreserve, uint32_t count) {
  static uint32_t context;
  const AclSliceRequest request = {.unreserve = unreserve,
                                   .stage = STAGE,
                                   .sliceType = PERMIT_DENY,
                                   .sliceCount = count << 24,
                                   .appId = APPLICATION};
  awaitAnswers(unreserve ? "give back" : "reserve", aclLibSliceConfig(&request, ++context), 1);
  return lastStatus;
}

int main(void) {
  if (connectToManager("slices", keepStatus) != 0) return 1;
  uint32_t held = 0;
  int16_t status = 0;
  while (held < MOST && (status = slices(0, 1)) == 0) held++;
  int bad = status != NONE_LEFT;
  printf("%u slices of stage %d were free\n", (unsigned)held, STAGE);
  bad |= slices(1, 1) != 0;
  bad |= slices(0, 1) != 0;
  bad |= slices(1, held) != 0;
  return finish("slices", bad);
}
