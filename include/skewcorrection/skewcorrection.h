/* SkewCorrection: measures how far the text lines of a page image are tilted and turns the image level.
 *
 * This header includes all others:
 *   types.h     ImgROI, result codes
 *   tables.h    sine and cosine tables
 *   convert.h   ARGB and RGB to gray; the working copy
 *   skew.h      the driver, reduction, edge map, angle searches
 *   rotate.h    rotations of gray, RGB and ARGB images
 *   analysis.h  connected components, confidence selection
 *   enhance.h   smoothing, stretch, extent fitting, gap filling
 *   page.h      the page-level measurement: a continuous angle and whether to trust it
 *   level.h     measure, judge, turn or leave alone, in one call; where points go
 *
 * The sign of an angle: positive means that the lines run along the direction (cos, sin) with x to the right
 * and y downward; as displayed they fall from left to right. Rotating an image by the measured angle levels it.
 *
 * Threads: every function keeps its state in its arguments and may run concurrently on different data, except
 * CopyToGlobalBuffer and ConvertImageDataToGray_and_CopyToGlobalBuffer (convert.h) and the Java methods, which
 * share one working copy and one last angle.
 */
#ifndef SKEWCORRECTION_SKEWCORRECTION_H
#define SKEWCORRECTION_SKEWCORRECTION_H

#include "analysis.h"
#include "convert.h"
#include "enhance.h"
#include "level.h"
#include "page.h"
#include "rotate.h"
#include "skew.h"
#include "tables.h"
#include "types.h"
#include "version.h"

#endif
