/* QRT_API marks the names that leave the library; QRT_USER_EXIT marks a routine that an application may replace
 * by one of the same name. All other names of the library are hidden. */
#ifndef QRT_EXPORT_H
#define QRT_EXPORT_H
#if defined(__GNUC__)
#define QRT_API __attribute__((visibility("default")))
#define QRT_USER_EXIT __attribute__((visibility("default"), weak))
#else
#define QRT_API
#define QRT_USER_EXIT
#endif
#endif
