// The machine constants under their published names, for callers outside the engine's
// templates (which read vrx_lamch directly).
#include "lapack/vrx_lapack.h"

extern "C" {
float SLAMCH(const char* cmach) { return vrx_lamch<float>(*cmach); }
double DLAMCH(const char* cmach) { return vrx_lamch<double>(*cmach); }
}
