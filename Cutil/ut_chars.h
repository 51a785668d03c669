// Tests of single characters, in ASCII whatever the locale says: names, numbers
// and file formats are the same everywhere.
#pragma once

constexpr bool UtIsDigit(char c) {
  return c >= '0' && c <= '9';
}
constexpr bool UtIsOctal(char c) {
  return c >= '0' && c <= '7';
}
constexpr bool UtIsHex(char c) {
  return UtIsDigit(c) || ((c | 0x20) >= 'a' && (c | 0x20) <= 'f');
}
constexpr bool UtIsLetter(char c) {
  return (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
}
// What a name may go on with after its first letter.
constexpr bool UtIsNameByte(char c) {
  return UtIsLetter(c) || UtIsDigit(c) || c == '_';
}
// What separates words within a line.
constexpr bool UtIsBlank(char c) {
  return c == ' ' || c == '\t';
}
// What separates words, line ends included.
constexpr bool UtIsSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool UtIsSlash(char c) {
  return c == '/' || c == '\\';
}
