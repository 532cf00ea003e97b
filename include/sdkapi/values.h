/** Readers of JSON members and conversions between settings' numbers and words. @file
 *
 * Pure functions without state: callable from any thread, they never block, allocate or log. */
#ifndef SDKAPI_VALUES_H
#define SDKAPI_VALUES_H

#include "sdkapi/export.h"

SDKAPI_BEGIN

/** A JSON tree of the cJSON library. */
struct cJSON;

/** Copies a string member of a JSON object.
 * @param object parsed object, may be NULL; not changed.
 * @param name   member name, matched without regard to case; may be NULL.
 * @param dst    receives the text, cut to size - 1 characters and NUL-terminated; untouched on failure.
 * @param size   size of dst in bytes.
 * @return 0 when copied (also when cut);
 *         -1 when an argument is NULL, size is below 1, the member is missing or is not a string. */
SDKAPI_EXPORT int cJSON_GetObjectItemValueString(const struct cJSON* object, const char* name, char* dst,
                                                 int size);

/** Reads a number member of a JSON object as an integer.
 * @param object parsed object, may be NULL; not changed.
 * @param name   member name, matched without regard to case; may be NULL.
 * @return the value; 0 also when the member is missing or is not a number. */
SDKAPI_EXPORT int cJSON_GetObjectItemValueInt(const struct cJSON* object, const char* name);

/** Reads a number member of a JSON object as a floating-point number.
 * @copydetails cJSON_GetObjectItemValueInt */
SDKAPI_EXPORT double cJSON_GetObjectItemValueDouble(const struct cJSON* object, const char* name);

/** Tests the strength of a password. A lower-case letter, an upper-case letter, a digit and one of these must
 * all occur; other characters are skipped, and there is no minimum length.
 * @verbatim !@#$%^&*()-_=+[]{}\|;:'",.<>/? @endverbatim
 * @param text NUL-terminated, must not be NULL.
 * @return 0 when the text passes, -1 otherwise. */
SDKAPI_EXPORT int DataFormatverification(const char* text);

/** Reads a switch word: "y", "on", "Enable" or "n", "off", "Disable", with exactly this case. Any other text
 * prints the line "Invalid Input " to standard output and counts as false.
 * @param text NUL-terminated, must not be NULL.
 * @return 1 or 0. */
SDKAPI_EXPORT int DataFormatStringToBool(const char* text);

/** Writes "Enable" for 1 and "Disable" for every other value.
 * @param value the setting's number.
 * @param dst   receives the word and its NUL: at least 8 bytes; may be NULL.
 * @return 0, or -1 when dst is NULL. */
SDKAPI_EXPORT int EnableEnumToString(int value, char* dst);

/** Writes "both" for 1, "rs232" for 2, "cec" for 3; any other value leaves dst untouched.
 * @copydetails EnableEnumToString */
SDKAPI_EXPORT int SinkPowerModeEnumToString(int value, char* dst);

/** Writes "off" for 0 and "on" for 1; any other value leaves dst untouched. @copydetails EnableEnumToString
 */
SDKAPI_EXPORT int OnOffEnumToString(int value, char* dst);

/** Writes "y" for 1 and "n" for 0; any other value leaves dst untouched. @copydetails EnableEnumToString */
SDKAPI_EXPORT int YesNoEnumToString(int value, char* dst);

/** Writes "dhcp" for 1 and "static" for 0; any other value leaves dst untouched.
 * @copydetails EnableEnumToString */
SDKAPI_EXPORT int DhcpEnumToString(int value, char* dst);

/** Reads "Enable" as 1 and "Disable" as 0, with exactly this case.
 * @param text NUL-terminated; may be NULL.
 * @return the word's number; -1 for NULL or any other text. */
SDKAPI_EXPORT int EnableStringToEnum(const char* text);

/** Reads "both" as 1, "rs232" as 2 and "cec" as 3, with exactly this case. @copydetails EnableStringToEnum */
SDKAPI_EXPORT int SinkPowerModeStringToEnum(const char* text);

/** Reads "off" as 0 and "on" as 1, with exactly this case. @copydetails EnableStringToEnum */
SDKAPI_EXPORT int OnOffStringToEnum(const char* text);

/** Reads "y" as 1 and "n" as 0, with exactly this case. @copydetails EnableStringToEnum */
SDKAPI_EXPORT int YesNoStringToEnum(const char* text);

/** Reads "dhcp" as 1 and "static" as 0, with exactly this case. @copydetails EnableStringToEnum */
SDKAPI_EXPORT int DhcpStringToEnum(const char* text);

SDKAPI_END

#endif
