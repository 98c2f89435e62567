/*
 * A meter, bound and taken off over the synchronous channel.
 *
 * Creates a rate limiter, sets its rates, binds it to a client and takes it off. Binding waits for
 * the manager and returns its status; the other requests are answered through the callback.
 *
 * Exit status: 0 when every request was answered as expected, else 1.
 */
#include <stdio.h>

#include "example_client.h"

enum {
  APPLICATION = 9,  /* a row of aclGlobalApps */
  TARGET = 3,       /* the client that the meter is bound to */
  CIR = 10000,      /* committed rate */
  CIR_BURST = 1500, /* its burst */
  PEAK = 20000,
  PEAK_BURST = 3000,
  DROP = 1, /* what becomes of packets that are out of profile */
  ALREADY_BOUND = -159,
  IN_USE = -16
};

/* Prints the status that a call has waited for. Returns 0 when it is the expected one. */
static int show(const char *request, int32_t status, int32_t expected) {
  printf("%s\n  returned %d (%s)\n", request, (int)status, aclStatusText((int16_t)status));
  return status != expected;
}

int main(void) {
  const char *const meter = "guests-10M";
  const AclMeterOwner owner = {APPLICATION, 7};
  if (connectToManager("meter_bind", NULL) != 0) return 1;

  int bad = awaitAnswers("create the meter", aclLibCreateMeter(meter, &owner), 1);
  bad |= awaitAnswers(
      "set its rates",
      aclLibConfigMeter(meter, CIR, CIR_BURST, PEAK, PEAK_BURST, DROP, 0, 0, &owner), 1);
  bad |= show("bind it", aclLibBindMeter(meter, TARGET), 0);
  bad |= show("bind it again", aclLibBindMeter(meter, TARGET), ALREADY_BOUND);
  bad |= awaitStatus("delete it while it is bound", aclLibDeleteMeter(meter, &owner), IN_USE);
  bad |= show("take it off", aclLibUnbindMeter(meter, TARGET), 0);
  bad |= awaitAnswers("delete it", aclLibDeleteMeter(meter, &owner), 1);
  return finish("meter_bind", bad);
}
