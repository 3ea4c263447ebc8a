/* Says whether the text of a page is set in rows or in columns, and how far it is tilted.
 *
 * Usage: rows_or_columns PAGE.pgm (8 bits, binary)
 *
 * Finds the edges of the page and runs both three-step searches side by side on two threads: one looks for
 * text lines, the other for columns, as in vertically set Japanese. The sharper of the two projections tells.
 */
#include <math.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "skewcorrection/skew.h"

enum { kMaxSide = 800, kCoarseRows = 40, kFineRows = 200 };

struct raster {
  int width, height;
  unsigned char* pixels; /* rows lie row_bytes(width) apart */
};

static size_t row_bytes(int width) { return ((size_t)width + 3) & ~(size_t)3; }

static void* allocate(size_t bytes) {
  void* memory = malloc(bytes);
  if (!memory) {
    fputs("rows_or_columns: out of memory\n", stderr);
    exit(1);
  }
  return memory;
}

static struct raster new_raster(int width, int height) {
  const size_t bytes = row_bytes(width) * (size_t)height;
  struct raster raster = {width, height, allocate(bytes)};
  memset(raster.pixels, 255, bytes);
  return raster;
}

/* A number of a PGM header, after white space and comments; -1 if there is none or it is too large. */
static int read_number(FILE* file) {
  int c = getc(file), number = 0;
  while (c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '#') {
    if (c == '#')
      while (c != '\n' && c != EOF) c = getc(file);
    else
      c = getc(file);
  }
  if (c < '0' || c > '9') return -1;
  for (; c >= '0' && c <= '9' && number <= 65535; c = getc(file)) number = number * 10 + (c - '0');
  return number <= 65535 ? number : -1;
}

static struct raster read_page(const char* name) {
  FILE* file = fopen(name, "rb");
  struct raster page = {0, 0, NULL};
  int complete = file && getc(file) == 'P' && getc(file) == '5';
  if (complete) {
    const int width = read_number(file), height = read_number(file), white = read_number(file);
    complete = width >= 2 && height >= 2 && white == 255;
    if (complete) page = new_raster(width, height);
  }
  for (int y = 0; complete && y < page.height; ++y)
    complete = fread(page.pixels + (size_t)y * row_bytes(page.width), 1, (size_t)page.width, file) ==
               (size_t)page.width;
  if (file) fclose(file);
  if (!complete) {
    fprintf(stderr, "rows_or_columns: %s is not a complete PGM file of 8 bits\n", name);
    exit(2);
  }
  return page;
}

static ImgROI whole(const struct raster* raster) {
  ImgROI box;
  memset(&box, 0, sizeof box);
  box.right = (uint16_t)(raster->width - 1);
  box.bottom = (uint16_t)(raster->height - 1);
  return box;
}

/* Text stays text when its page is made smaller, and the search becomes shorter. */
static struct raster reduce(struct raster page) {
  const int longer = page.width > page.height ? page.width : page.height;
  if (longer <= kMaxSide) return page;
  const int width = page.width * kMaxSide / longer, height = page.height * kMaxSide / longer;
  struct raster small = new_raster(width > 2 ? width : 2, height > 2 ? height : 2);
  if (ImgShrink_TrackNew(page.pixels, page.width, page.height, whole(&page), small.pixels, small.width,
                         small.height) != 0)
    exit(1);
  free(page.pixels);
  return small;
}

static struct raster edges_of(struct raster page) {
  struct raster edges = new_raster(page.width, page.height);
  if (CannyEdge(page.pixels, edges.pixels, 60, 120, page.width, page.height, 90) != 0) exit(1);
  return edges;
}

/* Rows of products of 0 ... length - 1 with the sine or cosine of 0, 1, 2 ... steps, rounded down. */
static uint16_t* projection_table(int rows, double degrees, int length, double (*wave)(double)) {
  uint16_t* table = allocate((size_t)rows * (size_t)length * sizeof *table);
  for (int row = 0; row < rows; ++row) {
    const double factor = wave(row * degrees * 3.14159265358979323846 / 180);
    for (int i = 0; i < length; ++i) table[(size_t)row * (size_t)length + (size_t)i] = (uint16_t)(i * factor);
  }
  return table;
}

struct search {
  SkewDetectParam block;
  double angle, score, angle_copy;
  uint16_t *coarse_sin, *coarse_cos, *fine_sin, *fine_cos;
};

/* direction: 1 for rows, whose lines are counted along y, 2 for columns, along x */
static void prepare(struct search* search, const struct raster* edges, int direction) {
  const int across = direction == 1 ? edges->height : edges->width;
  const int along = direction == 1 ? edges->width : edges->height;
  SkewDetectParam* block = &search->block;
  search->coarse_sin = projection_table(kCoarseRows, 1, along, sin);
  search->coarse_cos = projection_table(kCoarseRows, 1, across, cos);
  search->fine_sin = projection_table(kFineRows, 0.2, along, sin);
  search->fine_cos = projection_table(kFineRows, 0.2, across, cos);
  search->angle = 0;
  search->score = -1; /* stays if the search finds no memory */

  memset(block, 0, sizeof *block);
  block->pEdge = edges->pixels;
  block->width = edges->width;
  block->roi = whole(edges);
  block->pAngle = &search->angle;
  block->direction = direction;
  block->pHorCoarseSin = block->pVertCoarseSin = search->coarse_sin;
  block->pHorCoarseCos = block->pVertCoarseCos = search->coarse_cos;
  block->pHorFineSin = block->pVertFineSin = search->fine_sin;
  block->pHorFineCos = block->pVertFineCos = search->fine_cos;
  block->pHorScore = block->pVertScore = &search->score;
  block->pHorAngle = block->pVertAngle = &search->angle_copy;
}

static void release(struct search* search) {
  free(search->coarse_sin);
  free(search->coarse_cos);
  free(search->fine_sin);
  free(search->fine_cos);
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fputs("usage: rows_or_columns PAGE.pgm\n", stderr);
    return 2;
  }
  struct raster page = reduce(read_page(argv[1]));
  struct raster edges = edges_of(page);

  struct search rows, columns;
  prepare(&rows, &edges, 1);
  prepare(&columns, &edges, 2);
  pthread_t threads[2];
  int32_t started[2];
  started[0] = pthread_create(&threads[0], NULL, SkewAngleDetectJpnMT, &rows.block);
  started[1] = pthread_create(&threads[1], NULL, SkewAngleDetectJpnMT, &columns.block);
  const int unjoined = multi_pthread_join(2, started, threads);
  const int complete =
      unjoined == 0 && started[0] == 0 && started[1] == 0 && rows.score >= 0 && columns.score >= 0;

  /* Points spread evenly over n lines score points * points / n, so the scores count in units of that. */
  const double row_sharpness = rows.score * edges.height, column_sharpness = columns.score * edges.width;
  if (!complete)
    fputs("rows_or_columns: a search could not run\n", stderr);
  else if (rows.score == 0)
    puts("no text");
  else if (row_sharpness >= column_sharpness)
    printf("rows, tilted by %.1f degrees\n", rows.angle);
  else
    printf("columns, tilted by %.1f degrees\n", columns.angle);

  release(&rows);
  release(&columns);
  free(edges.pixels);
  free(page.pixels);
  return complete ? 0 : 1;
}
