#ifndef KOPA_DATATYPES_EXPORT_H
#define KOPA_DATATYPES_EXPORT_H

/// Marks the classes and functions that libkopadatatypes exports; everything else is hidden.
#define KOPA_DATATYPES_API __attribute__((visibility("default")))

#endif
