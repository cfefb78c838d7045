// SPDX-License-Identifier: MIT
// What counts as a key and what does not.
#ifndef VEXO_MONITOR_KEYS_H
#define VEXO_MONITOR_KEYS_H

namespace vexo {

// Bad reads beyond this number end the reading.
inline constexpr int kMaxBadReads = 25;

// Whether `key` is `letter`, an upper-case ASCII letter, in either case.
constexpr bool isKey(int key, char letter) {
    constexpr int kLowerCaseBit = 0x20;
    return (key & ~kLowerCaseBit) == letter;
}

// The end of input, a zero byte, or a byte that no ASCII keyboard types.
constexpr bool isBadRead(int key) {
    return key < 1 || key > 127;
}

}  // namespace vexo

#endif
