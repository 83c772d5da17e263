#include "reference_platform/png_encode.h"

#include "platform/lib.h"
#include "reference_platform/store.h"

namespace {

// ---------------------------------------------------------------------------
// Deflate with the fixed Huffman codes
// ---------------------------------------------------------------------------
constexpr UINTN kMinMatch = 4; // a match of 4 never costs more than 4 literals
constexpr UINTN kMaxMatch = 258;
constexpr UINTN kWindow = 32768;
constexpr UINTN kHashBits = 15;
constexpr UINTN kHashSize = 1u << kHashBits;
constexpr UINT32 kNoPosition = 0xFFFFFFFFu;
constexpr UINT32 kEndOfBlock = 256;
constexpr UINTN kHashedInMatch = 8;

constexpr UINT16 kLengthBase[29] = {3,  4,  5,  6,  7,  8,  9,  10, 11,  13,  15,  17,  19,  23, 27,
                                    31, 35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195, 227, 258};
constexpr UINT8 kLengthExtra[29] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                    2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
constexpr UINT16 kDistanceBase[30] = {
    1,   2,   3,   4,   5,   7,    9,    13,   17,   25,   33,   49,   65,    97,    129,
    193, 257, 385, 513, 769, 1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
constexpr UINT8 kDistanceExtra[30] = {0, 0, 0, 0, 1, 1, 2, 2,  3,  3,  4,  4,  5,  5,  6,
                                      6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13};

constexpr UINT32 Reverse(UINT32 Code, UINT32 Bits) {
  UINT32 out = 0;
  for (UINT32 i = 0; i < Bits; ++i) out |= ((Code >> i) & 1u) << (Bits - 1 - i);
  return out;
}

// Huffman codes go into the stream most significant bit first; the writer
// puts bits in least significant first, so the codes are kept reversed.
struct FixedCodes {
  UINT16 Code[288];
  UINT8 Bits[288];
  UINT8 LengthSymbol[kMaxMatch + 1]; // length -> index into kLengthBase
};

constexpr FixedCodes MakeFixedCodes() {
  FixedCodes c{};
  for (UINT32 s = 0; s < 288; ++s) {
    UINT32 code = 0, bits = 0;
    if (s < 144) {
      code = 0x30 + s, bits = 8;
    } else if (s < 256) {
      code = 0x190 + (s - 144), bits = 9;
    } else if (s < 280) {
      code = s - 256, bits = 7;
    } else {
      code = 0xC0 + (s - 280), bits = 8;
    }
    c.Code[s] = static_cast<UINT16>(Reverse(code, bits));
    c.Bits[s] = static_cast<UINT8>(bits);
  }
  for (UINT32 length = 3; length <= kMaxMatch; ++length) {
    UINT32 index = 0;
    while (index + 1 < 29 && kLengthBase[index + 1] <= length) ++index;
    c.LengthSymbol[length] = static_cast<UINT8>(index);
  }
  return c;
}

constexpr FixedCodes kFixed = MakeFixedCodes();

struct BitWriter {
  UINT8* Out;
  UINTN Capacity;
  UINTN Used;
  UINT64 Pending; // bits not yet written, least significant first
  UINT32 PendingBits;
};

void PutBits(BitWriter* W, UINT32 Value, UINT32 Bits) {
  W->Pending |= static_cast<UINT64>(Value) << W->PendingBits;
  W->PendingBits += Bits;
  while (W->PendingBits >= 8) {
    if (W->Used < W->Capacity) W->Out[W->Used] = static_cast<UINT8>(W->Pending);
    ++W->Used;
    W->Pending >>= 8;
    W->PendingBits -= 8;
  }
}

void FlushBits(BitWriter* W) {
  if (W->PendingBits > 0) PutBits(W, 0, 8 - W->PendingBits);
}

void PutSymbol(BitWriter* W, UINT32 Symbol) {
  PutBits(W, kFixed.Code[Symbol], kFixed.Bits[Symbol]);
}

void PutMatch(BitWriter* W, UINTN Length, UINTN Distance) {
  const UINT32 li = kFixed.LengthSymbol[Length];
  PutSymbol(W, 257 + li);
  if (kLengthExtra[li]) PutBits(W, static_cast<UINT32>(Length - kLengthBase[li]), kLengthExtra[li]);
  UINT32 di = 29;
  while (kDistanceBase[di] > Distance) --di;
  PutBits(W, Reverse(di, 5), 5);
  if (kDistanceExtra[di])
    PutBits(W, static_cast<UINT32>(Distance - kDistanceBase[di]), kDistanceExtra[di]);
}

UINT32 Read32(const UINT8* P) {
  return static_cast<UINT32>(P[0]) | (static_cast<UINT32>(P[1]) << 8) |
         (static_cast<UINT32>(P[2]) << 16) | (static_cast<UINT32>(P[3]) << 24);
}

UINT32 HashAt(const UINT8* P) {
  return (Read32(P) * 2654435761u) >> (32 - kHashBits);
}

UINTN MatchLength(const UINT8* Data, UINTN Size, UINTN Position, UINTN Candidate) {
  const UINTN limit = Size - Position < kMaxMatch ? Size - Position : kMaxMatch;
  UINTN n = 0;
  // Eight bytes at a time while they agree, then byte by byte.
  while (n + 8 <= limit) {
    UINT64 a, b;
    // A fixed-size builtin copy is one load (MemCopy is a string move).
    __builtin_memcpy(&a, Data + Candidate + n, 8);
    __builtin_memcpy(&b, Data + Position + n, 8);
    if (a != b) break;
    n += 8;
  }
  while (n < limit && Data[Candidate + n] == Data[Position + n]) ++n;
  return n;
}

UINT32 Adler32(const UINT8* Data, UINTN Size) {
  UINT32 a = 1, b = 0;
  while (Size > 0) {
    UINTN chunk = Size < 5552 ? Size : 5552; // no overflow of b before the modulo
    Size -= chunk;
    while (chunk--) {
      a += *Data++;
      b += a;
    }
    a %= 65521;
    b %= 65521;
  }
  return (b << 16) | a;
}

void PutBigEndian32(UINT8* P, UINT32 Value) {
  P[0] = static_cast<UINT8>(Value >> 24);
  P[1] = static_cast<UINT8>(Value >> 16);
  P[2] = static_cast<UINT8>(Value >> 8);
  P[3] = static_cast<UINT8>(Value);
}

// Greedy matching: the last position with the same four bytes, the byte three
// back (the previous RGB pixel) and the row above are tried; the longest wins.
UINTN Deflate(const UINT8* Data, UINTN Size, UINTN RowBytes, UINT32* Head, BitWriter* W) {
  for (UINTN i = 0; i < kHashSize; ++i) Head[i] = kNoPosition;
  PutBits(W, 1, 1); // last block
  PutBits(W, 1, 2); // fixed Huffman codes
  UINTN p = 0;
  while (p < Size) {
    UINTN best = 0, distance = 0;
    if (Size - p >= kMinMatch) {
      const UINT32 h = HashAt(Data + p);
      const UINT32 candidates[3] = {
          p >= 3 ? static_cast<UINT32>(p - 3) : kNoPosition,
          RowBytes && p >= RowBytes ? static_cast<UINT32>(p - RowBytes) : kNoPosition, Head[h]};
      const UINTN longest = Size - p < kMaxMatch ? Size - p : kMaxMatch;
      for (const UINT32 c : candidates) {
        if (best == longest) break; // nothing can beat it
        if (c == kNoPosition || c >= p || p - c > kWindow) continue;
        const UINTN length = MatchLength(Data, Size, p, c);
        if (length > best) best = length, distance = p - c;
      }
      Head[h] = static_cast<UINT32>(p);
    }
    if (best >= kMinMatch) {
      PutMatch(W, best, distance);
      // Positions inside a long match are mostly covered by the pixel and
      // row candidates; hashing only the first few keeps the encoder quick.
      const UINTN hashed = best < kHashedInMatch ? best : kHashedInMatch;
      for (UINTN k = 1; k < hashed; ++k) {
        if (Size - (p + k) >= kMinMatch) Head[HashAt(Data + p + k)] = static_cast<UINT32>(p + k);
      }
      p += best;
    } else {
      PutSymbol(W, Data[p]);
      ++p;
    }
  }
  PutSymbol(W, kEndOfBlock);
  FlushBits(W);
  return W->Used;
}

UINTN ZlibInto(const UINT8* Data, UINTN Size, UINTN RowBytes, UINT8* Out, UINTN Capacity) {
  if (!Out || Capacity < PngEncode_ZlibBound(Size) || (Size && !Data)) return 0;
  UINT32* head = static_cast<UINT32*>(Quorvex_AllocatePool(kHashSize * sizeof(UINT32)));
  if (!head) return 0;
  Out[0] = 0x78; // deflate, 32 KiB window
  Out[1] = 0x01; // no dictionary, check bits
  BitWriter w = {Out + 2, Capacity - 6, 0, 0, 0};
  const UINTN body = Deflate(Data, Size, RowBytes, head, &w);
  Quorvex_FreePool(head);
  if (body > Capacity - 6) return 0; // cannot happen within the bound
  PutBigEndian32(Out + 2 + body, Adler32(Data, Size));
  return body + 6;
}

// One chunk: length, type, data (already in place after the type), CRC.
UINTN FinishChunk(UINT8* Chunk, const char Type[4], UINTN DataSize) {
  PutBigEndian32(Chunk, static_cast<UINT32>(DataSize));
  MemCopy(Chunk + 4, Type, 4);
  PutBigEndian32(Chunk + 8 + DataSize, Store_Crc32(Chunk + 4, DataSize + 4));
  return DataSize + 12;
}

constexpr UINT8 kSignature[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};

} // namespace

UINTN PngEncode_ZlibBound(UINTN Size) {
  // Every literal takes at most 9 bits and a match of n >= 4 bytes at most
  // 31 bits, so the block stays within 9/8 of the data; header, block
  // header, end code and check add the rest.
  return Size + Size / 8 + 16;
}

UINTN PngEncode_Zlib(const UINT8* Data, UINTN Size, UINT8* Out, UINTN OutCapacity) {
  return ZlibInto(Data, Size, 0, Out, OutCapacity);
}

EFI_STATUS PngEncode_Rgb(const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* Pixels, UINT32 Width, UINT32 Height,
                         UINT8** Png, UINTN* PngSize) {
  if (!Pixels || !Png || !PngSize || Width == 0 || Height == 0) return EFI_INVALID_PARAMETER;
  if (static_cast<UINT64>(Width) * Height > kPngMaxPixels) return EFI_INVALID_PARAMETER;
  const UINTN rowBytes = 1 + static_cast<UINTN>(Width) * 3;
  const UINTN rawSize = rowBytes * Height;
  UINT8* raw = static_cast<UINT8*>(Quorvex_AllocatePool(rawSize));
  if (!raw) return EFI_OUT_OF_RESOURCES;
  for (UINTN y = 0; y < Height; ++y) {
    UINT8* row = raw + y * rowBytes;
    const EFI_GRAPHICS_OUTPUT_BLT_PIXEL* source = Pixels + y * Width;
    row[0] = 0; // filter: none
    for (UINTN x = 0; x < Width; ++x) {
      row[1 + 3 * x] = source[x].Red;
      row[2 + 3 * x] = source[x].Green;
      row[3 + 3 * x] = source[x].Blue;
    }
  }

  const UINTN zlibBound = PngEncode_ZlibBound(rawSize);
  const UINTN capacity = sizeof(kSignature) + (12 + 13) + (12 + zlibBound) + 12;
  UINT8* out = static_cast<UINT8*>(Quorvex_AllocatePool(capacity));
  if (!out) {
    Quorvex_FreePool(raw);
    return EFI_OUT_OF_RESOURCES;
  }
  UINTN used = 0;
  MemCopy(out, kSignature, sizeof(kSignature));
  used += sizeof(kSignature);

  UINT8* header = out + used + 8;
  PutBigEndian32(header, Width);
  PutBigEndian32(header + 4, Height);
  header[8] = 8;  // bits per sample
  header[9] = 2;  // truecolour
  header[10] = 0; // deflate
  header[11] = 0; // adaptive filtering
  header[12] = 0; // no interlace
  used += FinishChunk(out + used, "IHDR", 13);

  const UINTN zlib = ZlibInto(raw, rawSize, rowBytes, out + used + 8, zlibBound);
  Quorvex_FreePool(raw);
  if (zlib == 0) {
    Quorvex_FreePool(out);
    return EFI_OUT_OF_RESOURCES; // only the hash table can have been refused
  }
  used += FinishChunk(out + used, "IDAT", zlib);
  used += FinishChunk(out + used, "IEND", 0);
  *Png = out;
  *PngSize = used;
  return EFI_SUCCESS;
}
