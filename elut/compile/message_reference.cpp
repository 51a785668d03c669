// References to messages become texts of a fixed form: parts between separator
// bytes, which tell the run time the kind of look-up.
//
// Whoever reads them has a buffer of 255 characters, so a longer one is
// refused. It is put together in a buffer of that size, while its full length
// is counted.
#include <cstdio>
#include <cstring>

#include "Cutil/codes.h"
#include "elut/compile/actions.h"

namespace {

// The text of a message reference while it is put together.
class MessageReference {
 public:
  MessageReference(McFront* front, char separator)
      : front_(front), separator_(separator) {
    add(&separator_, 1);
  }
  // Adds a part, if there is one, releases it, and adds the separator.
  void part(McTokenText* text) {
    if (text != nullptr) {
      add(text->text(), text->length);
      McTokenTextRelease(&front_->scanner.strings, text);
    }
    add(&separator_, 1);
  }
  void number(int32_t value) {
    char digits[12];
    const int length = snprintf(digits, sizeof digits, "%d", value);
    add(digits, static_cast<size_t>(length));
    add(&separator_, 1);
  }
  // The text; the empty one, with a report, when it has become too long.
  McTokenText* finish() {
    if (length_ > LONGEST) {
      McParseFail(&front_->scanner, RC_FIXED_TEXT_FULL,
                  "message reference too long\n");
      length_ = 0;
    }
    McTokenText* text = McTokenTextNew(&front_->scanner.strings, length_);
    memcpy(text->text(), buffer_, length_);
    text->text()[length_] = '\0';
    text->length = static_cast<uint32_t>(length_);
    return text;
  }

 private:
  static constexpr size_t LONGEST = 255;

  void add(const char* bytes, size_t count) {
    for (size_t i = 0; i < count; i++, length_++)
      if (length_ < LONGEST) buffer_[length_] = bytes[i];
  }

  McFront* front_;
  char separator_;
  size_t length_ = 0;  // may be more than there is room for
  char buffer_[LONGEST];
};

}  // namespace

McTokenText* McParseMsg(McFront* front, McTokenText* first, McTokenText* second,
                        int32_t number) {
  MessageReference message(front, '\1');
  message.part(first);
  message.part(second);
  message.number(number);
  return message.finish();
}

McTokenText* McParseMsgText(McFront* front, char separator, McTokenText* text,
                            int32_t number, McTokenText* last) {
  MessageReference message(front, separator);
  message.part(text);
  message.number(number);
  if (last != nullptr) message.part(last);
  return message.finish();
}
