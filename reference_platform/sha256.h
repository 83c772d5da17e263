// SHA-256, HMAC-SHA-256 and PBKDF2-HMAC-SHA-256: the password hashes of the
// settings store.
#pragma once

#include "platform/efi.h"

constexpr UINTN kSha256DigestSize = 32;
constexpr UINTN kSha256BlockSize = 64;

struct Sha256Context {
  UINT32 State[8];
  UINT64 Length; // bytes absorbed so far
  UINT8 Block[kSha256BlockSize];
  UINTN Used; // bytes waiting in Block
};

void Sha256_Init(Sha256Context* Context);
void Sha256_Update(Sha256Context* Context, const void* Data, UINTN Size);
void Sha256_Final(Sha256Context* Context, UINT8 Digest[kSha256DigestSize]);
void Sha256(const void* Data, UINTN Size, UINT8 Digest[kSha256DigestSize]);

void HmacSha256(const void* Key, UINTN KeySize, const void* Data, UINTN DataSize,
                UINT8 Mac[kSha256DigestSize]);

// Derives OutSize bytes (any length) from the password and salt. Every
// intermediate buffer is wiped before returning.
void Pbkdf2HmacSha256(const void* Password, UINTN PasswordSize, const void* Salt, UINTN SaltSize,
                      UINT32 Iterations, UINT8* Out, UINTN OutSize);

// Compares two buffers in time that depends only on their length.
bool ConstantTimeEqual(const void* A, const void* B, UINTN Size);
