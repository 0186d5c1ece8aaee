// The partition decision of the classic road: which worker, on what grid, with
// which blocks and shared buffers, from the strategy and the thread count. Every
// thread takes it by itself after the fork and comes to the same answer.
#include <algorithm>
#include "blas/level3/classic/vrx_gemm_classic.h"

namespace {
template <typename T>
constexpr vrx_gemm_worker_fn<T> workers[] = {
    nullptr,
    vrx_gemm_worker_rows<T>,
    vrx_gemm_worker_columns<T>,
    vrx_gemm_worker_grid<T>,
    vrx_gemm_worker_shared_panel<T>,
    vrx_gemm_worker_ring<T>,
    vrx_gemm_worker_two_by_many<T>,
    vrx_gemm_worker_grouped<T>,
};

template <typename T>
void grid(vrx_gemm_split_t<T>* s, int grid_m, int mode) {
  s->grid_m = grid_m;
  s->grid_n = s->threads / grid_m;
  s->mode = mode;
  vrx_gemm_classic_set_worker(s, VRX_CLASSIC_GRID);
}

// Strategy 1: the SSSE3 processors without SSE4.1.
template <typename T>
void strategy_1(vrx_gemm_split_t<T>* s, vrx_int m, vrx_int n, vrx_int k) {
  s->threads &= ~1;
  const vrx_int t = s->threads;
  if (m >= 8000 && k <= 512 && n >= 3000 && m > n) {
    s->block_m = 512;
    s->mode = 32;
    s->count_b = 1;
    vrx_gemm_classic_set_worker(s, VRX_CLASSIC_SHARED_PANEL);
    return;
  }
  int grid_m = 2;
  if (n > m * t)
    grid_m = 1;
  else if (m > 4 * n && (m > 800 || (k > 50 && (m == 128 || (m >= 201 && m <= 800)))))
    grid_m = s->threads;
  grid(s, grid_m, 4);
}

// Strategies 2 and 4: SSSE3 with SSE4.1, large and small second-level cache.
template <typename T>
void strategy_2_4(vrx_gemm_split_t<T>* s, vrx_int m, vrx_int n, vrx_int k) {
  if ((s->threads & 1) && s->threads < 8) {
    vrx_gemm_classic_rows_or_columns(s, m, n);
    return;
  }
  s->threads &= ~1;
  const vrx_int t = s->threads;
  bool wanted, ring;
  if (s->strategy == 4 && t == 24) {
    wanted = n <= m * t && m >= 500;
    if (n >= 500 && k >= 150) {
      if (m >= 14000 && n <= 512) wanted = false;
      if (m <= 600 && n >= 2000) wanted = false;
    } else {
      if (m < 1200) wanted = false;
      if ((m < 7000 || n < 3000) && (n < 1200 || k < 128)) wanted = false;
    }
    ring = wanted && (k < 257 || (m >= 10000 && k < 513) || (m % 5000 == 0 && n % 5000 == 0) ||
                      (m >= 4701 && n >= 1000 && n < 4001));
    if (wanted && !ring) {
      s->grid_m = 2;
      s->grid_n = s->threads / 2;
      s->block_m = 200;
      s->block_n = 800;
      s->block_k = 128;
      vrx_gemm_classic_set_worker(s, VRX_CLASSIC_TWO_BY_MANY);
      return;
    }
  } else {
    wanted = n <= m * t && m >= 1000;
    if (k < 150 || n < 1000) {
      if (m < 1200) wanted = false;
      if ((m < 7000 || n < 3000) && (n < 1200 || k < 128)) wanted = false;
    }
    ring = wanted;
  }
  if (ring) {
    s->mode = 64;
    s->block_n = 8;
    if (s->strategy == 4)
      s->block_m = 448;
    else
      s->block_m = m >= 7001 && (k == 256 || k >= 512) ? 704 : 1024;
    vrx_gemm_classic_set_worker(s, VRX_CLASSIC_RING);
    return;
  }
  int grid_m = 1;
  if (m > n * t)
    grid_m = s->threads;
  else if (n <= m * t)
    grid_m = 2;
  grid(s, grid_m, 4);
}

// Strategies 3 and 5: SSE4.2 and AVX, a plain grid or groups sharing one packed A.
template <typename T>
void strategy_3_5(vrx_gemm_split_t<T>* s, vrx_int m, vrx_int n, vrx_int k) {
  const int t = s->threads;
  bool grouped = false;
  if (t < 8) {
    if ((t & 1) && !(m >= n && m / t < 32)) {
      vrx_gemm_classic_rows_or_columns(s, m, n);
      return;
    }
  } else {
    grouped = m >= 200 && !(m < 1000 && t > 8) && !(m <= 1000 && (k < 200 || k > 2 * m)) && n >= 128 &&
              k < 5 * n && (t == 8 || (t % 4 == 0 && (t <= 32 || t % 8 == 0)));
  }
  s->threads &= ~1;
  const int te = s->threads;
  if (!grouped) {
    int grid_m;
    if (m > 4 * n)
      grid_m = te;
    else if (n > m * te)
      grid_m = 1;
    else
      grid_m = te % 4 == 0 && te > 12 ? 4 : 2;
    grid(s, grid_m, s->strategy == 5 ? 128 : 4);
    return;
  }
  const int g = te < 33 ? std::min(te, 4) : te / 8;
  if (s->strategy == 5) {
    s->grid_n = g;
    s->grid_m = te / g;
    s->block_m = std::min<vrx_int>(m, 5000);
    s->block_n = std::min<vrx_int>(n, 256);
    s->mode = 8;
  } else {
    s->grid_m = g;
    s->grid_n = te / g;
    s->block_m = std::min<vrx_int>(m, s->cache_bytes <= 4194304 ? 384 : 1000);
    s->block_n = std::min<vrx_int>(n, 10000);
    s->mode = 16;
  }
  s->count_a = s->grid_m;
  vrx_gemm_classic_set_worker(s, VRX_CLASSIC_GROUPED);
}

// Compute road 0: the other vendor's strategies run a grid; everything else rows or columns.
template <typename T>
void sequential_road(vrx_gemm_split_t<T>* s, vrx_int m, vrx_int n, vrx_int k) {
  if (s->strategy != 6 && s->strategy != 8) {
    vrx_gemm_classic_rows_or_columns(s, m, n);
    return;
  }
  const int t = s->threads;
  int grid_m;
  if (!(t & 1) && m <= 2 * n && n <= 2 * m)
    grid_m = t % 4 == 0 ? 4 : 2;
  else
    grid_m = m > n ? t : 1;
  grid(s, grid_m, 4);
  vrx_gemm_classic_amd_blocks(s, m, n, k);
}
}  // namespace

template <typename T>
void vrx_gemm_classic_set_worker(vrx_gemm_split_t<T>* s, int worker_id) {
  s->worker_id = worker_id;
  s->worker = worker_id >= VRX_CLASSIC_ROWS && worker_id <= VRX_CLASSIC_GROUPED ? workers<T>[worker_id] : nullptr;
}

template <typename T>
void vrx_gemm_classic_partition(vrx_gemm_split_t<T>* s, vrx_int m, vrx_int n, vrx_int k) {
  s->grid_m = s->grid_n = 1;
  s->mode = 0;
  s->count_a = s->count_b = 0;
  s->block_m = s->block_n = s->block_k = 0;
  if (s->compute_road == 0) {
    sequential_road(s, m, n, k);
    return;
  }
  switch (s->strategy) {
    case 1: strategy_1(s, m, n, k); break;
    case 2:
    case 4: strategy_2_4(s, m, n, k); break;
    case 3:
    case 5: strategy_3_5(s, m, n, k); break;
    default: vrx_gemm_classic_rows_or_columns(s, m, n); break;
  }
}

#define VRX_X(T)                                                                                 \
  template void vrx_gemm_classic_set_worker<T>(vrx_gemm_split_t<T>*, int);                       \
  template void vrx_gemm_classic_partition<T>(vrx_gemm_split_t<T>*, vrx_int, vrx_int, vrx_int);
VRX_X(float)
VRX_X(double)
VRX_X(vrx_complex_float)
VRX_X(vrx_complex_double)
#undef VRX_X
