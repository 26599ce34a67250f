// Symbol visibility for the engine library. The library is built with hidden visibility; only the
// five C entry points and the classes hosts derive from or call into are exported.
#pragma once

#if defined(_WIN32)
#  if defined(VORMI_BUILDING_ENGINE)
#    define VORMI_API __declspec(dllexport)
#  else
#    define VORMI_API __declspec(dllimport)
#  endif
#else
#  define VORMI_API __attribute__((visibility("default")))
#endif

#if defined(__GNUC__)
#  define VORMI_PRINTF(fmtIndex, firstArg) __attribute__((format(printf, fmtIndex, firstArg)))
#else
#  define VORMI_PRINTF(fmtIndex, firstArg)
#endif
