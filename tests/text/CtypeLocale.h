#ifndef TQBASE_TESTS_TEXT_CTYPELOCALE_H_
#define TQBASE_TESTS_TEXT_CTYPELOCALE_H_

#include <clocale>
#include <string>

// Switches LC_CTYPE for one test and restores it.
class CtypeLocale {
 public:
  explicit CtypeLocale(const char* name)
      : saved_(std::setlocale(LC_CTYPE, nullptr)),
        ok_(std::setlocale(LC_CTYPE, name) != nullptr) {}
  ~CtypeLocale() { std::setlocale(LC_CTYPE, saved_.c_str()); }
  bool ok() const { return ok_; }

 private:
  std::string saved_;
  bool ok_;
};

// Single-byte locales where 0xC9 and 0xE9 are a case pair. Rarely installed;
// `localedef -i en_US -f ISO-8859-1 DIR/en_US.ISO-8859-1` and LOCPATH=DIR
// make one available to the tests.
inline const char* const kLatin1LocaleNames[] = {
    "en_US.ISO-8859-1", "en_US.iso88591", "de_DE.ISO-8859-1",
    "fr_FR.ISO-8859-1"};

#endif  // TQBASE_TESTS_TEXT_CTYPELOCALE_H_
