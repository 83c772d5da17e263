// Secure Boot declarations shared by the reference platform and the fake
// firmware: EDK2's configuration variable GUIDs and the authenticated-write
// attribute a platform-key deletion carries.
#pragma once

#include "platform/efi.h"

// OVMF's SecureBootEnable and CustomMode (SecurityPkg).
constexpr EFI_GUID kSecureBootEnableGuid = {
    0xF0A30BC7, 0xAF08, 0x4556, {0x99, 0xC4, 0x00, 0x10, 0x09, 0xC9, 0x3A, 0x44}};
constexpr EFI_GUID kCustomModeGuid = {
    0xC076EC0C, 0x7028, 0x4399, {0xA0, 0x72, 0x71, 0xEE, 0x5C, 0x44, 0x8B, 0x9F}};
// EFI_CERT_TYPE_PKCS7_GUID: the certificate type of an authenticated write.
constexpr EFI_GUID kCertPkcs7Guid = {
    0x4AAFD29D, 0x68DF, 0x49EE, {0x8A, 0xA9, 0x34, 0x7D, 0x37, 0x56, 0x65, 0xA7}};
constexpr UINT32 kTimeBasedAuthenticatedWrite = 0x20;
