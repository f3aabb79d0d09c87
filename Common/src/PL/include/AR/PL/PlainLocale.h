#pragma once

#include <locale.h>

namespace AR::PL {

/// While it lives, the C library treats numbers on the calling thread as in the "C" locale,
/// whatever locale the process has chosen: `strtod_l`, which says so for one call, came to Android
/// with API level 26 only.
class PlainLocale {
 public:
  PlainLocale() : mPrevious(uselocale(plain())) {}
  ~PlainLocale() { uselocale(mPrevious); }
  PlainLocale(const PlainLocale&) = delete;
  PlainLocale& operator=(const PlainLocale&) = delete;

 private:
  /// Null, which changes nothing, when there is no memory for it.
  static locale_t plain() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
  }

  locale_t mPrevious;
};

}  // namespace AR::PL
