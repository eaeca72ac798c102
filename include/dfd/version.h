/* SPDX-License-Identifier: MIT */
/*
 * Version of the library that these headers belong to. Until 1.0 a new minor number may change the
 * interface; the SONAME is libdfd.so.0 until then.
 */
#ifndef DFD_VERSION_H
#define DFD_VERSION_H

#define DFD_VERSION_MAJOR 0
#define DFD_VERSION_MINOR 1
#define DFD_VERSION_PATCH 0

/* One number of two decimal digits each, for #if: 0.1.0 is 100. */
#define DFD_VERSION_NUMBER (DFD_VERSION_MAJOR * 10000 + DFD_VERSION_MINOR * 100 + DFD_VERSION_PATCH)

#define DFD_VERSION_TEXT_OF_(major, minor, patch) #major "." #minor "." #patch
#define DFD_VERSION_TEXT_(major, minor, patch) DFD_VERSION_TEXT_OF_(major, minor, patch)
/* The same as text: "0.1.0". */
#define DFD_VERSION DFD_VERSION_TEXT_(DFD_VERSION_MAJOR, DFD_VERSION_MINOR, DFD_VERSION_PATCH)

#endif /* DFD_VERSION_H */
