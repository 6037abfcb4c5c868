#pragma once

// The one place that asks which processor family the library is built for. The four-lane forms
// (Lanes.h) are compiled in where OSTRANA_SSE2_LANES is 1. The AVX2 and AVX-512 lane forms (the
// vector sine, the eight- and sixteen-lane types of Lanes.h, the processor check that chooses
// among them) are compiled in where OSTRANA_X86_64_LANES is 1, with the intrinsics this header
// brings in; elsewhere they are left out and the four-lane or one-at-a-time forms run, with the
// same output.
#if defined(__x86_64__)
#define OSTRANA_X86_64_LANES 1
#include <immintrin.h>
#else
#define OSTRANA_X86_64_LANES 0
#endif

#if defined(__SSE2__)
#define OSTRANA_SSE2_LANES 1
#include <emmintrin.h>
#else
#define OSTRANA_SSE2_LANES 0
#endif
