/* Symbol visibility and C linkage of the exported functions. */
#ifndef SDKAPI_EXPORT_H
#define SDKAPI_EXPORT_H

/** A connection of the web server; opaque here. */
struct mg_connection;

/** Marks a function as part of the library's interface; everything else is hidden. */
#if defined(__GNUC__)
#define SDKAPI_EXPORT __attribute__((visibility("default")))
#else
#define SDKAPI_EXPORT
#endif

#ifdef __cplusplus
#define SDKAPI_BEGIN extern "C" {
#define SDKAPI_END }
#else
/** Opens the block of C declarations. */
#define SDKAPI_BEGIN
/** Closes the block of C declarations. */
#define SDKAPI_END
#endif

#endif
