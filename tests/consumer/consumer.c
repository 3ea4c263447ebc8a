/* Uses the library from C: measures a page drawn here and turns it level. */
#include <skewcorrection/skewcorrection.h>
#include <stdio.h>
#include <stdlib.h>

static unsigned char page[400 * 400];

int main(void) {
  double angle = -1;
  unsigned char* level = NULL;
  int i;
  if (skew_version() != SKEW_VERSION_NUMBER) return 1;
  for (i = 0; i < 400 * 400; ++i) page[i] = ((i / 400) * 10 - i % 400 + 4000) % 200 < 80 ? 20 : 240;
  if (SkewCorrection(page, 400, 400, &angle) != SKEW_OK || angle < 5.0 || angle > 6.4) {
    printf("measured %.1f degrees, drawn with 5.7\n", angle);
    return 1;
  }
  if (RotateGrayImage(page, 400, 400, angle, &level, -1) != SKEW_OK) return 1;
  i = level[0] == 255 && GetYfromRGB(255, 0, 0) == 76 ? 0 : 1;
  free(level);
  return i;
}
