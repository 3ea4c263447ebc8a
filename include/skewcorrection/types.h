/* The few types and result codes that several headers share.
 *
 * Everything here is plain C99 and may be included from C and from C++.
 */
#ifndef SKEWCORRECTION_TYPES_H
#define SKEWCORRECTION_TYPES_H

#include <stdint.h>

/* Marks what the library exports. On Windows a program that links the static library defines SKEW_STATIC. */
#if defined(_WIN32) && defined(SKEW_BUILDING)
#define SKEW_API __declspec(dllexport)
#elif defined(_WIN32) && !defined(SKEW_STATIC)
#define SKEW_API __declspec(dllimport)
#elif defined(_WIN32)
#define SKEW_API
#elif defined(__GNUC__)
#define SKEW_API __attribute__((visibility("default")))
#else
#define SKEW_API
#endif

#ifdef __cplusplus
#define SKEW_EXTERN_C_BEGIN extern "C" {
#define SKEW_EXTERN_C_END }
#else
#define SKEW_EXTERN_C_BEGIN
#define SKEW_EXTERN_C_END
#endif

SKEW_EXTERN_C_BEGIN

/* Result codes. Each function names the ones it can return. */
enum {
  SKEW_OK = 0,
  SKEW_INVALID_ARGUMENT = 1,      /* a null pointer, a size or an angle out of range */
  SKEW_OUT_OF_MEMORY = 2,         /* an allocation failed, or a result would be too large to address */
  SKEW_EDGE_DETECTION_FAILED = 3, /* driver: CannyEdge could not run */
  SKEW_ANGLE_SEARCH_FAILED = 5,   /* driver: the angle search could not run */
  SKEW_NO_WORKING_MEMORY = 260    /* RotateImage, reduction, searches, filters: an allocation failed */
};

/* A box in an image and, at the same time, the record of a connected component.
 *
 * Functions that take a region read only the four bounds. The bounds are inclusive, in pixels, and in this
 * order: left, right, top, bottom. ImgExtFit_Track_ROI alone treats right and bottom as excluded.
 * The other fields are filled by CCAnalysis (analysis.h), which says what they mean.
 * The record is 24 bytes long on every platform and is passed by value. */
typedef struct ImgROI {
  uint16_t left;         /* first column */
  uint16_t right;        /* last column */
  uint16_t top;          /* first row */
  uint16_t bottom;       /* last row */
  uint32_t area;         /* component: number of pixels */
  uint32_t link;         /* component: 2 in every record that CCAnalysis returns */
  uint16_t maxRun;       /* component: length of its longest horizontal run, pixels */
  uint16_t scratchIndex; /* 0 in every record that CCAnalysis returns */
  uint32_t reserved;     /* 0 in every record that CCAnalysis returns */
} ImgROI;

SKEW_EXTERN_C_END

#endif
