// Kernels that the build makes twice: for any processor of the family, and for those with wider vectors. The program
// picks one when it starts. Both do the same operations in the same order, and multiplication and addition are never
// fused, so the digits are the same on every machine.
#pragma once

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__)
#define VECTOR_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define VECTOR_CLONES
#endif
