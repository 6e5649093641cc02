/* libsimcard: symbol visibility of the public interface. */
#ifndef SIMCARD_EXPORT_H
#define SIMCARD_EXPORT_H

#if defined(__GNUC__)
#define SIMCARD_API __attribute__((visibility("default")))
#else
#define SIMCARD_API
#endif

#endif /* SIMCARD_EXPORT_H */
