#pragma once

/**
 * Gives the calling thread a stack of its own for signal handlers, until the thread ends: a handler can't run
 * on a stack that has overflowed. A thread that has one already keeps it.
 * @return whether the thread has one now.
 */
bool useAlternateStack();
