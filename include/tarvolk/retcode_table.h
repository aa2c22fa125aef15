/*
 * tarvolk/retcode_table.h - the library's own return codes, in one list.
 *
 * Each row: X(name, code, message set, message number, default text). The
 * order of the rows is the order of the library's table; it is not sorted.
 * Both the constants of tarvolk/retcode.h and the table that NRCToString
 * searches are generated from this list.
 */
#ifndef TARVOLK_RETCODE_TABLE_H
#define TARVOLK_RETCODE_TABLE_H

/* clang-format off */
#define N_RC_TABLE(X) \
    X(NRC_SUCCESS, 0, 1, 2, "No error") \
    X(NRC_INTERNAL, -16, 1, 3, "Internal error") \
    X(NRC_UNSUPPORTED, -17, 1, 4, "Unsupported") \
    X(NRC_TIMEOUT, -18, 1, 5, "Timeout") \
    X(NRC_FAILURE, -19, 1, 6, "General failure") \
    X(NRC_CURSOR_END, -20, 1, 7, "Cursor finished successfully") \
    X(NRC_PARSE_FAILURE, -21, 1, 8, "Parse failure") \
    X(NRC_NOT_FOUND, -22, 1, 9, "Object not found") \
    X(NRC_EXISTS, -23, 1, 10, "Object exists") \
    X(NRC_TYPE_MISMATCH, -24, 1, 11, "Type mismatch") \
    X(NRC_INVALID_DATATYPE, -25, 1, 12, "Invalid datatype") \
    X(NRC_INVALID_MODULE, -26, 1, 13, "Invalid module") \
    X(NRC_CONNECTION_CLOSED, -27, 1, 14, "Connection closed") \
    X(NRC_EXCEPTION, -28, 1, 15, "Exception") \
    X(NRC_OPEN_FAILED, -29, 1, 29, "Open Failed") \
    X(NRC_READ_FAILED, -30, 1, 30, "Read Failed") \
    X(NRC_WRITE_FAILED, -31, 1, 31, "Write Failed") \
    X(NRC_NOT_READY, -32, 1, 34, "Not ready") \
    X(NRC_READ_LOCK_VIOLATION, -33, 1, 90, "Read lock violation") \
    X(NRC_WRITE_LOCK_VIOLATION, -34, 1, 91, "Write lock violation") \
    X(NRC_NO_FREE_LOCK_DATA, -35, 1, 92, "Failed to find free lock data entry") \
    X(NRC_LOCK_FAILED, -80, 1, 16, "Lock failed") \
    X(NRC_UNLOCK_FAILED, -81, 1, 17, "Unlock failed") \
    X(NRC_ARG_MISSING_OPTION, -50, 1, 18, "Argument missing option") \
    X(NRC_ARG_EXISTS, -51, 1, 25, "Argument already defined") \
    X(NRC_ARG_UNDEFINED, -52, 1, 28, "Undefined argument") \
    X(NRC_PROP_NOT_FOUND, -40, 1, 26, "Property not found") \
    X(NRC_PROP_EXISTS, -41, 1, 27, "Property already defined") \
    X(NRC_PROP_READONLY, -42, 1, 35, "Property is READONLY") \
    X(NRC_PROP_NESTING, -43, 1, 36, "Property file include nesting overflow") \
    X(NRC_REGEXP_INVALID, -70, 1, 19, "Invalid regular expression") \
    X(NRC_REGEXP_TOO_BIG, -71, 1, 20, "Regular expression is too big") \
    X(NRC_REGEXP_BAD_MATCH, -72, 1, 21, "Bad match string") \
    X(NRC_REGEXP_NO_MATCH, -73, 1, 22, "Regular expression does not match") \
    X(NRC_MODULE_LOAD_FAILED, -60, 1, 23, "Dynamic module load failed") \
    X(NRC_MODULE_UNLOAD_FAILED, -61, 1, 24, "Dynamic module unload failed") \
    X(NRC_PID_EXISTS, -100, 1, 32, "pid file exists, service already running") \
    X(NRC_PID_CREATE_FAILED, -101, 1, 33, "Failed to create pid file") \
    X(NRC_CANCELLED, -110, 1, 37, "Operation cancelled") \
    X(NRC_I18N_GLOBAL_LOCALE, -297, 10, 4, "Cannot use global locale for formatting") \
    X(NRC_I18N_MSGOPEN, -229, 10, 71, "ERR_MSGOPEN") \
    X(NRC_KEY_LENGTH, -120, 1, 38, "Invalid Key Length") \
    X(NRC_KEY_NOT_FOUND, -121, 1, 39, "Key Not Found") \
    X(NRC_KEY_FILE_OPEN, -122, 1, 40, "Failed to open file for reading") \
    X(NRC_KEY_FILE_LENGTH, -123, 1, 41, "File length found does not match expected file length") \
    X(NRC_KEY_FILE_LENGTH_MISMATCH, -124, 1, 42, "Key file formatted incorrectly, length mismatch") \
    X(NRC_KEY_FILE_NO_SEPARATOR, -125, 1, 43, "Key file formatted incorrectly, no separator found") \
    X(NRC_KEY_FILE_EMPTY, -126, 1, 44, "Attempt made to read data from empty file") \
    X(NRC_CRYPT_FORMAT, -127, 1, 45, "Data was not in correct encrypted format") \
    X(NRC_CRYPT_NO_ALGORITHM, -128, 1, 46, "Encryption algorithm not found") \
    X(NRC_KEY_FILE_NON_NUMERIC, -129, 1, 47, "Key file formatted incorrectly, non numeric characters in length") \
    X(NRC_AES_BAD_DIRECTION, -130, 1, 48, "Unknown key/encryption direction encountered when setting up AES key") \
    X(NRC_AES_BAD_KEY_MATERIAL, -131, 1, 49, "Bad key material provided when setting up AES key") \
    X(NRC_AES_BAD_KEY_INSTANCE, -132, 1, 50, "Bad key instance passed to AES algorithm") \
    X(NRC_AES_BAD_CIPHER_MODE, -133, 1, 51, "Bad cipher mode encountered when setting up AES cipher") \
    X(NRC_AES_BAD_CIPHER_STATE, -134, 1, 52, "Bad cipher state occurred in AES") \
    X(NRC_AES_BAD_BLOCK_LENGTH, -135, 1, 53, "Bad block length encountered during AES processing") \
    X(NRC_AES_BAD_CIPHER_INSTANCE, -136, 1, 54, "Bad cipher instance passed to AES algorithm") \
    X(NRC_AES_BAD_DATA, -137, 1, 55, "Bad data encountered during AES processing") \
    X(NRC_AES_UNKNOWN, -138, 1, 56, "Unknown AES error occurred") \
    X(NRC_FIPS_CONTEXT, -139, 1, 57, "FIPS mode set and non FIPS cipher context setup detected") \
    X(NRC_KCE_WRONG_STATE, -5000, 1, 60, "The cipher is in a wrong state") \
    X(NRC_KCE_NOT_INITIALISED, -5001, 1, 61, "KCE not initialised") \
    X(NRC_KCE_UNKNOWN, -5002, 1, 62, "KCE unknown error") \
    X(NRC_KCE_CLEANUP, -5003, 1, 63, "Failed KCE cipher context cleanu") \
    X(NRC_KCE_CIPHER_NOT_FOUND, -5004, 1, 64, "KCE cipher not found") \
    X(NRC_KCE_LIBRARY, -5005, 1, 65, "libtvkcrypt failure") \
    X(NRC_KCE_MALLOC, -5006, 1, 66, "malloc() failed") \
    X(NRC_KCE_OUTPUT_LENGTH, -5007, 1, 67, "Invalid output length") \
    X(NRC_KCE_KEY_LENGTH, -5008, 1, 68, "Invalid key length") \
    X(NRC_KCE_FORMAT, -5009, 1, 69, "Data was not in correct encrypted format") \
    X(NRC_KCE_NON_FIPS, -5010, 1, 70, "A non-FIPS approved algorithm was called when in FIPS mode") \
    X(NRC_KCE_FIPS_MODE, -5011, 1, 71, "KCE Failed to go into FIPS mode") \
    X(NRC_KCE_OS, -5012, 1, 72, "An error occurred within the OS") \
    X(NRC_KCE_OPENSSL, -5013, 1, 73, "An error occurred within OpenSSL") \
    X(NRC_KCE_NULL_PARAMETER, -5014, 1, 74, "A parameter was NULL and was expected to have a value") \
    X(NRC_KCE_COMMAND, -5015, 1, 75, "An unupported command was passed") \
    X(NRC_KCE_VALUE, -5016, 1, 76, "An invalid value was passed") \
    X(NRC_KCE_SHARED_LIBRARY, -5017, 1, 77, "One of the KCE shared libraries was not found") \
    X(NRC_KCE_SIGNATURE, -5018, 1, 78, "Validation of the library signature failed") \
    X(NRC_KCE_LIBRARY_MISMATCH, -5019, 1, 79, "Incompatible library") \
    X(NRC_KCE_INTERNAL_STATE, -5020, 1, 80, "KCE found it was in an invalid state internally") \
    X(NRC_KCE_VALUE_NOT_SET, -5021, 1, 81, "A requested value was not set") \
    X(NRC_KCE_TRUNCATED, -5022, 1, 82, "The value passed in was too long and has been truncated") \
    X(NRC_KCE_PARAMETER, -5023, 1, 83, "The parameter was invalid") \
    X(NRC_KCE_NOT_INITIALIZED, -5024, 1, 84, "KCE has not been initialized") \
    X(NRC_KCE_DISABLED, -5025, 1, 85, "A fatal error occurred (Self tests, RNG initialization) and KCE is disabled") \
    X(NRC_KCE_MEMORY, -5026, 1, 86, "Problem in KCE's memory allocation") \
    X(NRC_KCE_MUTEX, -5027, 1, 87, "We expected a mutex to be set and it wasn't") \
    X(NRC_KCE_SET_VALUE, -5028, 1, 88, "KCE cannot set a value") \
    X(NRC_KCE_ATTACHED, -5029, 1, 89, "KCE_Attach called, but this call has already been made") \
    X(NRC_STRING_TOO_LONG, -36, 1, 93, "String exceeds maximum buffer size")
/* clang-format on */

/* Number of rows of N_RC_TABLE. */
#define N_RC_TABLE_ROWS 92

#endif /* TARVOLK_RETCODE_TABLE_H */
