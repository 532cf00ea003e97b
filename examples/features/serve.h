/* What all examples of this folder share: a server that runs until it is told to end. */
#ifndef EXAMPLES_SERVE_H
#define EXAMPLES_SERVE_H

#include <sdkapi/sdkapi.h>
#include <stddef.h>

/* Starts the server on the port of the command line (8080), calls `started`, and waits for SIGINT or SIGTERM.
 * A result of `started` other than 0 stops it. `started` and `stopping` may be NULL. Without `table->LoginCb`
 * no request needs a token. Returns what main returns. */
int Serve(int argc, char** argv, const SdkAPISerHandle* table, int (*started)(void), void (*stopping)(void));

/* Copies a text, cut to the room. */
void Copy(char* target, size_t size, const char* text);

#endif
