// The tile table of the threaded Cholesky factorisation: readiness of a tile, the size
// of a task by its step (super-tiles early, single tiles towards the end), the fetch
// that prefers the neighbourhood of the worker's last task, the claim and the report.
// Every read for the fetch and every claim happen inside the scheduler's critical
// section; the report is a store by the worker that held the tiles.
#include "lapack/cholesky/vrx_potrf.h"

namespace {
vrx_int load(vrx_int* word) { return __atomic_load_n(word, __ATOMIC_ACQUIRE); }
void store(vrx_int* word, vrx_int value) { __atomic_store_n(word, value, __ATOMIC_RELEASE); }

bool finished(vrx_int* table, vrx_int i, vrx_int j) { return load(vrx_potrf_step(table, i, j)) == 0; }

vrx_int last_of(vrx_int first, vrx_int size, vrx_int tiles) {
  return first + size - 1 < tiles ? first + size - 1 : tiles;
}

// Every tile of the square of `size` at (i, j) that lies in the table on or above the
// diagonal, from the bottom-right corner back to (i, j): a square of the next step
// begins at its top-left tile, which is therefore written last.
template <typename Body>
void for_square(vrx_int* table, vrx_int i, vrx_int j, vrx_int size, Body body) {
  const vrx_int tiles = table[VRX_POTRF_TILES];
  for (vrx_int r = last_of(i, size, tiles); r >= i; --r)
    for (vrx_int c = last_of(j, size, tiles); c >= (r > j ? r : j); --c) body(r, vrx_potrf_step(table, r, c));
}

// Tile (i, j) as a task: its step is due, it may run and it is the top-left tile of a
// square of its own size equal to `size`.
bool takes(vrx_int* table, vrx_int i, vrx_int j, vrx_int size) {
  const vrx_int tiles = table[VRX_POTRF_TILES];
  if (i > tiles || j > tiles || i > j) return false;
  const vrx_int k = load(vrx_potrf_step(table, i, j));
  return k > 0 && vrx_lapack_potrf_task_size(table, k) == size && vrx_lapack_potrf_ready(table, i, j, k);
}

void claim(vrx_int* table, vrx_int i, vrx_int j, vrx_int size, vrx_potrf_task* task) {
  const vrx_int k = load(vrx_potrf_step(table, i, j));
  *task = {i, j, k, size};
  for_square(table, i, j, size, [k](vrx_int, vrx_int* step) { store(step, -k); });
}

bool row_done(vrx_int* table, vrx_int i) {
  for (vrx_int j = i; j <= table[VRX_POTRF_TILES]; ++j)
    if (!finished(table, i, j)) return false;
  return true;
}
}  // namespace

void vrx_lapack_potrf_table_init(vrx_int* table, vrx_int tiles, vrx_int super, vrx_int threads) {
  table[VRX_POTRF_TILES] = tiles;
  table[VRX_POTRF_FINISHED] = 0;
  table[VRX_POTRF_FIRST_ROW] = 1;
  table[VRX_POTRF_SUPER] = super;
  table[4] = 0;
  table[VRX_POTRF_THREADS] = threads;
  for (vrx_int w = VRX_POTRF_STEPS; w < vrx_potrf_table_words(tiles); ++w) table[w] = 1;
}

vrx_int vrx_lapack_potrf_task_size(const vrx_int* table, vrx_int k) {
  vrx_int s = table[VRX_POTRF_SUPER], h = table[VRX_POTRF_TILES] / 2, p = k < 0 ? -k : k;
  while (s > 1 && h < p + s) {
    s /= 2;
    p -= h;
    h /= 2;
  }
  return s;
}

bool vrx_lapack_potrf_ready(vrx_int* table, vrx_int i, vrx_int j, vrx_int k) {
  if (j == i) return k == i || finished(table, k, j);
  return finished(table, k, i) && (k == i || i == 1 || finished(table, k, j));
}

void vrx_lapack_potrf_fetch(vrx_int* table, vrx_potrf_task* task) {
  const vrx_int tiles = table[VRX_POTRF_TILES], super = table[VRX_POTRF_SUPER];
  // The neighbourhood of the last task: the same tile, the one below, the one on the right.
  const vrx_int s = task->size, i = task->i, j = task->j;
  if (s >= 1 && s <= super && (i - 1) % s == 0 && (j - 1) % s == 0) {
    const vrx_int candidates[3][2] = {{i, j}, {i + s, j}, {i, j + s}};
    for (const auto& c : candidates)
      if (takes(table, c[0], c[1], s)) return claim(table, c[0], c[1], s, task);
  }
  vrx_int& first_row = table[VRX_POTRF_FIRST_ROW];
  while (first_row <= tiles && row_done(table, first_row)) ++first_row;
  for (vrx_int size = super; size >= 1; size /= 2)
    for (vrx_int r = (first_row - 1) / size * size + 1; r <= tiles; r += size)
      for (vrx_int c = r; c <= tiles; c += size)
        if (takes(table, r, c, size)) return claim(table, r, c, size, task);
  task->step = -1;
  vrx_int left = 0;
  for (vrx_int w = VRX_POTRF_STEPS; w < vrx_potrf_table_words(tiles); ++w) left += load(table + w) != 0;
  if (left == 0) store(table + VRX_POTRF_FINISHED, 1);
}

void vrx_lapack_potrf_task_done(vrx_int* table, vrx_potrf_task* task) {
  const vrx_int next = task->step + task->size;
  task->step = next;
  for_square(table, task->i, task->j, task->size,
             [next](vrx_int row, vrx_int* step) { store(step, next > row ? 0 : next); });
}
