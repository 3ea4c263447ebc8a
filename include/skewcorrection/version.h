/* Which version of the library this is: of the headers when a program is compiled, of the library when it runs.
 *
 * Within one major version the binary interface only grows, so a program runs with any library whose version is that
 * of its headers or later and has the same major number.
 */
#ifndef SKEWCORRECTION_VERSION_H
#define SKEWCORRECTION_VERSION_H

#include "types.h"

SKEW_EXTERN_C_BEGIN

/* The version of these headers. */
#define SKEW_VERSION_MAJOR 1
#define SKEW_VERSION_MINOR 0
#define SKEW_VERSION_PATCH 0
/* As one number that grows with every version: 10203 is 1.2.3. */
#define SKEW_VERSION_NUMBER (SKEW_VERSION_MAJOR * 10000 + SKEW_VERSION_MINOR * 100 + SKEW_VERSION_PATCH)

/* The version of the library that runs, in the form of SKEW_VERSION_NUMBER. Keeps no state and allocates nothing. */
SKEW_API int skew_version(void);

SKEW_EXTERN_C_END

#endif
