// Symbol visibility for the klav shared library. The library is built with
// hidden symbols; only declarations marked KLAV_API are exported.
#ifndef KLAV_EXPORT_H
#define KLAV_EXPORT_H

#if defined(_WIN32)
#  if defined(KLAV_BUILDING)
#    define KLAV_API __declspec(dllexport)
#  else
#    define KLAV_API __declspec(dllimport)
#  endif
#else
#  define KLAV_API __attribute__((visibility("default")))
#endif

#endif
