#include "reference_platform/sha256.h"

#include "platform/lib.h"

namespace {

constexpr UINT32 kRoundConstants[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

constexpr UINT32 kInitialState[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                     0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};

constexpr UINT32 Rotr(UINT32 x, UINT32 n) {
  return (x >> n) | (x << (32 - n));
}

void Compress(UINT32 State[8], const UINT8 Block[kSha256BlockSize]) {
  UINT32 w[64];
  for (UINTN i = 0; i < 16; ++i) {
    w[i] = (UINT32(Block[4 * i]) << 24) | (UINT32(Block[4 * i + 1]) << 16) |
           (UINT32(Block[4 * i + 2]) << 8) | UINT32(Block[4 * i + 3]);
  }
  for (UINTN i = 16; i < 64; ++i) {
    const UINT32 s0 = Rotr(w[i - 15], 7) ^ Rotr(w[i - 15], 18) ^ (w[i - 15] >> 3);
    const UINT32 s1 = Rotr(w[i - 2], 17) ^ Rotr(w[i - 2], 19) ^ (w[i - 2] >> 10);
    w[i] = w[i - 16] + s0 + w[i - 7] + s1;
  }
  UINT32 a = State[0], b = State[1], c = State[2], d = State[3];
  UINT32 e = State[4], f = State[5], g = State[6], h = State[7];
  for (UINTN i = 0; i < 64; ++i) {
    const UINT32 t1 = h + (Rotr(e, 6) ^ Rotr(e, 11) ^ Rotr(e, 25)) + ((e & f) ^ (~e & g)) +
                      kRoundConstants[i] + w[i];
    const UINT32 t2 = (Rotr(a, 2) ^ Rotr(a, 13) ^ Rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
    h = g;
    g = f;
    f = e;
    e = d + t1;
    d = c;
    c = b;
    b = a;
    a = t1 + t2;
  }
  State[0] += a;
  State[1] += b;
  State[2] += c;
  State[3] += d;
  State[4] += e;
  State[5] += f;
  State[6] += g;
  State[7] += h;
  MemWipe(w, sizeof(w));
}

// HMAC with the key already absorbed: Inner has hashed key ^ ipad, Outer
// key ^ opad. PBKDF2 reuses both for every iteration.
struct HmacKeyed {
  Sha256Context Inner;
  Sha256Context Outer;
};

void HmacKey(HmacKeyed* Keyed, const void* Key, UINTN KeySize) {
  UINT8 block[kSha256BlockSize];
  MemFill(block, 0, sizeof(block));
  if (KeySize > kSha256BlockSize) {
    Sha256(Key, KeySize, block);
  } else if (KeySize) {
    MemCopy(block, Key, KeySize);
  }
  UINT8 pad[kSha256BlockSize];
  for (UINTN i = 0; i < kSha256BlockSize; ++i) pad[i] = block[i] ^ 0x36;
  Sha256_Init(&Keyed->Inner);
  Sha256_Update(&Keyed->Inner, pad, sizeof(pad));
  for (UINTN i = 0; i < kSha256BlockSize; ++i) pad[i] = block[i] ^ 0x5c;
  Sha256_Init(&Keyed->Outer);
  Sha256_Update(&Keyed->Outer, pad, sizeof(pad));
  MemWipe(block, sizeof(block));
  MemWipe(pad, sizeof(pad));
}

// Mac = HMAC(key, Data1 || Data2).
void HmacRun(const HmacKeyed* Keyed, const void* Data1, UINTN Size1, const void* Data2, UINTN Size2,
             UINT8 Mac[kSha256DigestSize]) {
  Sha256Context context = Keyed->Inner;
  Sha256_Update(&context, Data1, Size1);
  Sha256_Update(&context, Data2, Size2);
  UINT8 inner[kSha256DigestSize];
  Sha256_Final(&context, inner);
  context = Keyed->Outer;
  Sha256_Update(&context, inner, sizeof(inner));
  Sha256_Final(&context, Mac);
  MemWipe(inner, sizeof(inner));
  MemWipe(&context, sizeof(context));
}

} // namespace

void Sha256_Init(Sha256Context* Context) {
  MemCopy(Context->State, kInitialState, sizeof(kInitialState));
  Context->Length = 0;
  Context->Used = 0;
}

void Sha256_Update(Sha256Context* Context, const void* Data, UINTN Size) {
  const UINT8* bytes = static_cast<const UINT8*>(Data);
  Context->Length += Size;
  while (Size) {
    UINTN take = kSha256BlockSize - Context->Used;
    if (take > Size) take = Size;
    MemCopy(Context->Block + Context->Used, bytes, take);
    Context->Used += take;
    bytes += take;
    Size -= take;
    if (Context->Used == kSha256BlockSize) {
      Compress(Context->State, Context->Block);
      Context->Used = 0;
    }
  }
}

void Sha256_Final(Sha256Context* Context, UINT8 Digest[kSha256DigestSize]) {
  const UINT64 bits = Context->Length * 8;
  Context->Block[Context->Used++] = 0x80;
  if (Context->Used > kSha256BlockSize - 8) {
    MemFill(Context->Block + Context->Used, 0, kSha256BlockSize - Context->Used);
    Compress(Context->State, Context->Block);
    Context->Used = 0;
  }
  MemFill(Context->Block + Context->Used, 0, kSha256BlockSize - 8 - Context->Used);
  for (UINTN i = 0; i < 8; ++i) Context->Block[56 + i] = static_cast<UINT8>(bits >> (56 - 8 * i));
  Compress(Context->State, Context->Block);
  for (UINTN i = 0; i < 8; ++i) {
    Digest[4 * i] = static_cast<UINT8>(Context->State[i] >> 24);
    Digest[4 * i + 1] = static_cast<UINT8>(Context->State[i] >> 16);
    Digest[4 * i + 2] = static_cast<UINT8>(Context->State[i] >> 8);
    Digest[4 * i + 3] = static_cast<UINT8>(Context->State[i]);
  }
  MemWipe(Context, sizeof(*Context));
}

void Sha256(const void* Data, UINTN Size, UINT8 Digest[kSha256DigestSize]) {
  Sha256Context context;
  Sha256_Init(&context);
  Sha256_Update(&context, Data, Size);
  Sha256_Final(&context, Digest);
}

void HmacSha256(const void* Key, UINTN KeySize, const void* Data, UINTN DataSize,
                UINT8 Mac[kSha256DigestSize]) {
  HmacKeyed keyed;
  HmacKey(&keyed, Key, KeySize);
  HmacRun(&keyed, Data, DataSize, nullptr, 0, Mac);
  MemWipe(&keyed, sizeof(keyed));
}

void Pbkdf2HmacSha256(const void* Password, UINTN PasswordSize, const void* Salt, UINTN SaltSize,
                      UINT32 Iterations, UINT8* Out, UINTN OutSize) {
  if (Iterations == 0) Iterations = 1;
  HmacKeyed keyed;
  HmacKey(&keyed, Password, PasswordSize);
  UINT8 u[kSha256DigestSize];
  UINT8 t[kSha256DigestSize];
  for (UINT32 block = 1; OutSize > 0; ++block) {
    const UINT8 index[4] = {static_cast<UINT8>(block >> 24), static_cast<UINT8>(block >> 16),
                            static_cast<UINT8>(block >> 8), static_cast<UINT8>(block)};
    HmacRun(&keyed, Salt, SaltSize, index, sizeof(index), u);
    MemCopy(t, u, sizeof(t));
    for (UINT32 i = 1; i < Iterations; ++i) {
      HmacRun(&keyed, u, sizeof(u), nullptr, 0, u);
      for (UINTN k = 0; k < kSha256DigestSize; ++k) t[k] ^= u[k];
    }
    const UINTN take = OutSize < kSha256DigestSize ? OutSize : kSha256DigestSize;
    MemCopy(Out, t, take);
    Out += take;
    OutSize -= take;
  }
  MemWipe(&keyed, sizeof(keyed));
  MemWipe(u, sizeof(u));
  MemWipe(t, sizeof(t));
}

bool ConstantTimeEqual(const void* A, const void* B, UINTN Size) {
  const volatile UINT8* a = static_cast<const volatile UINT8*>(A);
  const volatile UINT8* b = static_cast<const volatile UINT8*>(B);
  UINT8 difference = 0;
  for (UINTN i = 0; i < Size; ++i) difference |= static_cast<UINT8>(a[i] ^ b[i]);
  return difference == 0;
}
