/*
 * tarvolk/gate.h - the gate: a door that threads wait at. A new gate is
 * closed. A waiter passes at once through an open gate, and through a
 * closed one at its first wake-up of any kind.
 */
#ifndef TARVOLK_GATE_H
#define TARVOLK_GATE_H

#include <tarvolk/common.h>

N_BEGIN_DECLS

typedef struct NGate NGate;

NAPI NRC NGateCreate(NGate **gate);
NAPI NRC NGateDestroy(NGate *gate);
NAPI NRC NGateWait(NGate *gate);
NAPI NRC NGateClose(NGate *gate);
/* Opens the gate and wakes all waiters. */
NAPI NRC NGateOpen(NGate *gate);
/* Lets the present waiters pass; the gate stays closed for later ones. */
NAPI NRC NGateRelease(NGate *gate);

N_END_DECLS

#endif /* TARVOLK_GATE_H */
