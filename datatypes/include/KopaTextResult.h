#ifndef KOPA_TEXT_RESULT_H
#define KOPA_TEXT_RESULT_H

/// Results of the records' internalize and externalize operations.
///
/// Zero is success. Each kind of fault in a record's text has its own positive code, so that
/// an application (or a log reader) can tell what was wrong with the text. The codes are
/// positive to keep them apart from libkopapositioning's negative result codes.
enum KopaTextResult : int {
    KOPA_TEXT_OK = 0,
    KOPA_TEXT_EMPTY = 1,                ///< the text is empty or only white space
    KOPA_TEXT_WRONG_RECORD = 2,         ///< the text names another record (or none)
    KOPA_TEXT_UNSUPPORTED_VERSION = 3,  ///< the record's format version is not one we read
    KOPA_TEXT_MALFORMED_FIELD = 4,      ///< a field is not of the form name=value
    KOPA_TEXT_BAD_NUMBER = 5,           ///< a numeric field does not hold a number
    KOPA_TEXT_OUT_OF_RANGE = 6,         ///< a value lies outside the field's range
    KOPA_TEXT_MISSING_FIELD = 7,        ///< a required field is absent
    KOPA_TEXT_DUPLICATE_FIELD = 8,      ///< a field stands twice
    KOPA_TEXT_BAD_VALUE = 9,            ///< a non-numeric value is not one the field allows
    KOPA_TEXT_NOT_REPRESENTABLE = 10,   ///< externalize: the record holds a value text cannot carry
};

#endif
