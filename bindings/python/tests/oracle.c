/* Levels raw pixels with the C interface, for comparison with another language's: gray 1, RGB 3 or ARGB 4 bytes a
 * pixel from standard input, then the fields of the record and the pixels of the result on standard output.
 * Usage: oracle CHANNELS WIDTH HEIGHT FORCE CANVAS FILL-MODE FILL */
#include <skewcorrection/level.h>
#include <stdio.h>
#include <stdlib.h>

static void print(const SkewLevel* l) {
  const SkewTransform* t = &l->transform;
  const SkewPage* p = &l->page;
  printf("%d %d %.17g %.17g %d %u ", l->action, l->aligned, l->tilt, l->angle, l->canvas, (unsigned)l->fill);
  printf("%d %d %d %d %.17g %.17g %.17g %.17g %.17g %.17g ", t->width, t->height, t->outWidth, t->outHeight,
         t->a, t->b, t->c, t->d, t->e, t->f);
  printf("%.17g %.17g %.17g %.17g %.17g %.17g ", p->angle, p->confidence, p->lowestAngle, p->highestAngle,
         p->paperAngle, p->spread);
  printf("%d %d %d %d %d %d\n", p->verdict, p->reason, p->basis, p->paperFound, p->windowsMeasured,
         p->windowsAgreeing);
}

int main(int argc, char** argv) {
  if (argc != 8) return 2;
  const int channels = atoi(argv[1]), width = atoi(argv[2]), height = atoi(argv[3]);
  const size_t row = (size_t)width * (size_t)channels;
  void* source = malloc(row * (size_t)height);
  if (!source || fread(source, row, (size_t)height, stdin) != (size_t)height) return 2;

  SkewLevelOptions options;
  skew_level_defaults(&options);
  options.force = atoi(argv[4]);
  options.canvas = atoi(argv[5]);
  options.fillMode = atoi(argv[6]);
  options.fill = (uint32_t)strtoul(argv[7], NULL, 16);
  SkewLevel level;
  void* result = NULL;
  const int code =
      channels == 1
          ? skew_level_gray(source, (ptrdiff_t)row, width, height, &options, (unsigned char**)&result, &level)
      : channels == 3
          ? skew_level_rgb(source, (ptrdiff_t)row, width, height, &options, (unsigned char**)&result, &level)
          : skew_level_argb(source, (ptrdiff_t)row, width, height, &options, (uint32_t**)&result, &level);
  if (code != SKEW_OK) return 1;
  print(&level);
  if (result)
    fwrite(result, (size_t)level.transform.outWidth * (size_t)channels, (size_t)level.transform.outHeight,
           stdout);
  free(result);
  free(source);
  return 0;
}
