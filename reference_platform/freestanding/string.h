// Memory routines of the C library; the platform library defines them in the
// UEFI image (platform/lib_memory.cpp).
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

void* memcpy(void* Destination, const void* Source, size_t Length);
void* memmove(void* Destination, const void* Source, size_t Length);
void* memset(void* Buffer, int Value, size_t Length);
int memcmp(const void* A, const void* B, size_t Length);

#ifdef __cplusplus
}
#endif
