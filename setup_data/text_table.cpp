// Language lookup over the text table: a reference is the English slot of an
// entry; the Japanese and French slots follow it at fixed byte offsets.
#include "setup_data/text_table.h"

#include "platform/bindings.h"

void GetText(const CHAR16* Entry, const CHAR16** Out) {
  if (Out == nullptr) return;
  if (Entry == nullptr) {
    // No entry has no slots; a valid language yields no text at all.
    if (Language <= 2) *Out = nullptr;
    return;
  }
  // The slots are reached by byte offsets inside the entry object, the way
  // references are defined, rather than by indexing past the English array.
  const UINT8* Base = reinterpret_cast<const UINT8*>(Entry);
  switch (Language) {
  case 0:
    *Out = Entry;
    break;
  case 1:
    *Out = reinterpret_cast<const CHAR16*>(Base + kJapaneseSlotOffset);
    break;
  case 2:
    *Out = reinterpret_cast<const CHAR16*>(Base + kFrenchSlotOffset);
    break;
  default:
    break; // no such language: Out keeps what the caller put there
  }
}

const CHAR16* TextOf(const CHAR16* Entry) {
  if (Entry == nullptr) return u"";
  // With a Language outside 0-2 GetText leaves the English slot in place.
  const CHAR16* Text = Entry;
  GetText(Entry, &Text);
  return Text;
}
