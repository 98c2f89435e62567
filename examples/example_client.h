/*
 * What all examples do alike: connect to the ACL manager, send a request, wait for its answers and
 * print them.
 */
#ifndef EXAMPLES_EXAMPLE_CLIENT_H
#define EXAMPLES_EXAMPLE_CLIENT_H

#include <acl_lib.h>
#include <stdint.h>

/* A number inside a message, where they are all big-endian. */
uint32_t numberAt(const void *body, unsigned offset, unsigned bytes);

/*
 * Connects, and announces the program until the connection is up, for five seconds at most.
 *   onAnswer  told about each answer, on the dispatcher's thread, after it was printed; null for
 *             none
 * Returns 0, or 1 after saying what is wrong.
 */
int connectToManager(const char *program, AclMsgCallback onAnswer);

/*
 * Prints what was asked for, and waits for its answers for five seconds at most.
 *   sent      the result of the call that sent the request
 *   expected  how many answers it gets
 * Returns 0 when they came, each with status 0; 1 otherwise. Answers that came before count, so
 * that requests and answers stay in step.
 */
int awaitAnswers(const char *request, int32_t sent, int expected);

/* The same for one answer that is expected to have another status. */
int awaitStatus(const char *request, int32_t sent, int16_t status);

/* Says how the program has ended. Returns its exit status, which is `bad`. */
int finish(const char *program, int bad);

#endif
