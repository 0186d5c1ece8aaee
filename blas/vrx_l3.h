// Records of the level-3 driver: views of the operands, the call, the register-block
// shape, the table of operations, the blocking and its packed buffers, and the
// records of the parallel team that runs the driver on slices of C.
#pragma once
#include <cstddef>
#include <cstdint>

#include "blas/vrx_blas.h"
#include "service/vrx_spin_barrier.h"
#include "service/vrx_types.h"

// Applies X to each element type of the engine; the sources of the generic templates
// instantiate them with it.
#define VRX_L3_EACH_TYPE(X) X(float) X(double) X(vrx_complex_float) X(vrx_complex_double)

// Kinds of level-3 product served by one operations table.
enum : std::uint32_t {
  VRX_L3_GEMM = 0,
  VRX_L3_SYMM = 1,
  VRX_L3_SYRK = 3,
  VRX_L3_SYR2K = 5,
  VRX_L3_TRMM = 7,
  VRX_L3_TRSM = 8,
  VRX_L3_GEMM_TRIANGLE = 9,  // a GEMM whose result is one triangle of C
};
// Kinds with a triangular result (SYRK, SYR2K, GEMM into a triangle), as a mask over the kind.
constexpr std::uint32_t vrx_l3_triangular_result_kinds = 0x228;

// Layout flags of a view: 1 as stored, 2 transposed, 4 conjugate-transposed, 0 C.
enum : std::uint32_t {
  VRX_L3_PLAIN = 1,
  VRX_L3_TRANSPOSED = 2,
  VRX_L3_CONJUGATED = 4,
};

template <typename T>
struct vrx_l3_view;
// Address of element (i, j) of the view, counted from its row and column offsets.
template <typename T>
using vrx_l3_address_fn = T* (*)(vrx_int i, vrx_int j, const vrx_l3_view<T>* view);

// A matrix as op() sees it: rows and cols are the extents of op(X).
template <typename T>
struct vrx_l3_view {
  T* data;
  vrx_int rows;
  vrx_int cols;
  vrx_int ld;
  vrx_int row_offset;
  vrx_int col_offset;
  vrx_int full_rows;
  std::uint32_t flags;
  vrx_l3_address_fn<T> address;
};

template <typename T>
struct vrx_l3_call {
  const char* side;
  const char* uplo;
  const char* diag;
  const char* transa;
  const char* transb;
  T alpha;
  T beta;  // rewritten to one (or kept zero) by the driver as it goes
  std::uint32_t type_a;  // vrx_traits<T>::type_code
  std::uint32_t type_b;
  std::uint32_t type_c;
  std::int32_t code_a;
  std::int32_t code_b;
  std::uint32_t kind;
};
constexpr std::uint32_t vrx_l3_type_double = VRX_TYPE_DOUBLE;

struct vrx_l3_sync;
template <typename T>
struct vrx_l3_blocking;

// One thread's place in a team on the parallel road.
template <typename T>
struct vrx_l3_team {
  std::uint32_t cpu;
  std::int32_t id;
  std::int32_t max_threads;
  std::int32_t threads;
  std::int32_t pack_threads;
  std::int32_t grid_m;
  std::int32_t grid_n;
  std::int32_t grid_k;
  std::uint32_t road;
  std::uint32_t split;      // 0 rows, 1 columns, 2 two-dimensional, 3 three-dimensional
  std::uint32_t team_mode;  // 0 each thread alone, 1 cooperating on a shared packed A
  std::uint32_t rounding;
  std::int32_t group_size;
  std::int32_t group;
  vrx_l3_blocking<T>* shared_blocking;
  vrx_l3_sync* sync;
  vrx_int* failed;
};

// Barrier counters of a cooperating group, each on its own cache line.
struct vrx_l3_sync : vrx_serv_spin_barrier {};
static_assert(sizeof(vrx_l3_sync) == 128);

// The register block and the modes of one CPU type and element type.
struct vrx_l3_kernel_shape {
  std::uint32_t pack_mode;
  std::uint32_t team_mode;  // 2 alone, 4 cooperating, 32 reserved
  std::uint32_t loop_mode;
  vrx_int mr;
  vrx_int nr;
  vrx_int ku;
  // Puts the extents and the modes back to the type's values; 1 when nothing changed.
  int (*check)(vrx_l3_kernel_shape* shape);
};

// Packs a block of the source view (rows by cols from its offsets) into the packed
// view's buffer, multiplying by factor; `offset` counts packed rows (A) or columns (B)
// already in the buffer.
template <typename T>
using vrx_l3_pack_fn = void (*)(const vrx_l3_view<T>* source, const vrx_l3_view<T>* target, T factor,
                                vrx_int offset);
// C(m by n) := packed A * packed B (+ C unless beta is zero, in which case C is never read).
template <typename T>
using vrx_l3_kernel_fn = void (*)(vrx_int m, vrx_int n, vrx_int k, const T* a, const T* b, T* c, vrx_int ldc,
                                  T beta);
// C(m by n) := beta C; beta = 0 stores zeros without reading C.
template <typename T>
using vrx_l3_scale_fn = void (*)(vrx_int m, vrx_int n, T beta, T* c, vrx_int ldc);

template <typename T>
struct vrx_l3_ops;
template <typename T>
using vrx_l3_driver_fn = void (*)(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                                  const vrx_l3_view<T>* c, vrx_l3_blocking<T>* blocking, const vrx_l3_ops<T>* ops);
// The allocation-free road of the kind, with the beta now in force.
template <typename T>
using vrx_l3_fallback_fn = void (*)(const vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                                    const vrx_l3_view<T>* c);
// Hooks of the kinds with a triangular result; the GEMM path leaves them null.
template <typename T>
using vrx_l3_triangle_fn = void (*)(const vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                                    const vrx_l3_view<T>* c, const vrx_l3_ops<T>* ops);

template <typename T>
struct vrx_l3_ops {
  vrx_int min_m;
  vrx_int min_n;
  vrx_int min_k;
  vrx_l3_pack_fn<T> pack_a;
  vrx_l3_pack_fn<T> pack_b;
  vrx_l3_pack_fn<T> pack_diag;
  vrx_l3_kernel_fn<T> kernel;
  vrx_l3_pack_fn<T> pack_tri;
  vrx_l3_scale_fn<T> scale_c;
  vrx_l3_driver_fn<T> driver;
  vrx_l3_fallback_fn<T> fallback;
  vrx_l3_triangle_fn<T> triangle_kernel;
  vrx_l3_triangle_fn<T> triangle_scale;
  vrx_l3_kernel_shape shape;
};

// Block sizes and packed buffers of one driver run. `kind`: 3 both buffers, 2 only B, 1 only A.
template <typename T>
struct vrx_l3_blocking {
  void* raw;
  vrx_l3_view<T> a_packed;
  vrx_l3_view<T> b_packed;
  std::uint64_t kind;
  vrx_int mc;
  vrx_int nc;
  vrx_int kc;
  int (*allocate)(vrx_l3_blocking* blocking);  // 1 on success
  void (*release)(vrx_l3_blocking* blocking);
};
static_assert(sizeof(vrx_l3_blocking<double>) == 200);

enum : std::uint64_t {
  VRX_L3_BUFFER_A = 1,
  VRX_L3_BUFFER_B = 2,
  VRX_L3_BUFFER_BOTH = 3,
};

// What the per-class kernels offer the driver: one table per instruction class and
// element type. The packs are indexed by op: as stored, transposed, conjugate-transposed
// (real data uses the transposed pack for the last).
template <typename T>
struct vrx_l3_kernels {
  vrx_int mr;
  vrx_int nr;
  vrx_l3_kernel_fn<T> kernel;  // picks the store version when beta is zero
  vrx_l3_pack_fn<T> pack_a_plain;
  vrx_l3_pack_fn<T> pack_a_transposed;
  vrx_l3_pack_fn<T> pack_a_conjugated;
  vrx_l3_pack_fn<T> pack_b_plain;
  vrx_l3_pack_fn<T> pack_b_transposed;
  vrx_l3_pack_fn<T> pack_b_conjugated;
  vrx_l3_scale_fn<T> scale_c;
  vrx_l3_fallback_fn<T> fallback;
};

// View of op(X) over a caller matrix; `flags` is the layout flag of its character
// (flag 1 reads as stored, every other flag as transposed).
template <typename T>
vrx_l3_view<T> vrx_l3_make_view(const T* data, vrx_int rows, vrx_int cols, vrx_int ld, std::uint32_t flags);
// View of C: flag 0, read as stored.
template <typename T>
vrx_l3_view<T> vrx_l3_make_c_view(T* data, vrx_int rows, vrx_int cols, vrx_int ld);
// Layout flag of a transposition character: N 1, T 2, C 4, other 0 (read as transposed).
std::uint32_t vrx_l3_layout_flag(char trans);
// A GEMM call record from the caller's scalars.
template <typename T>
vrx_l3_call<T> vrx_l3_gemm_call(const char* transa, const char* transb, T alpha, T beta);
// The sub-view starting at (i, j) of `view`, of the given extents.
template <typename T>
vrx_l3_view<T> vrx_l3_sub_view(const vrx_l3_view<T>* view, vrx_int i, vrx_int j, vrx_int rows, vrx_int cols);

// Shape and operations of CPU types 5 and 7 for this process's CPU type.
template <typename T>
void vrx_l3_init_shape(const vrx_l3_team<T>* team, vrx_l3_kernel_shape* shape);
template <typename T>
int vrx_l3_init_ops(const vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                    const vrx_l3_view<T>* c, const vrx_l3_kernel_shape* shape, vrx_l3_ops<T>* ops);
template <typename T>
void vrx_l3_blocking_init(const vrx_l3_view<T>* a, const vrx_l3_view<T>* b, const vrx_l3_kernel_shape* shape,
                          vrx_l3_blocking<T>* blocking);

// The same for an explicit CPU type (5 or 7); other types answer 0 / leave the shape empty.
template <typename T>
int vrx_l3_init_shape_for(int cpu, const vrx_l3_team<T>* team, vrx_l3_kernel_shape* shape);
// Operations for the call's kind; answers 0 when the kind has no operations yet.
template <typename T>
int vrx_l3_init_ops_with(const vrx_l3_kernels<T>* kernels, const vrx_l3_call<T>* call, const vrx_l3_view<T>* a,
                         const vrx_l3_view<T>* b, const vrx_l3_view<T>* c, const vrx_l3_kernel_shape* shape,
                         vrx_l3_ops<T>* ops);
template <typename T>
const vrx_l3_kernels<T>* vrx_l3_kernels_for(int cpu);

// Start of the panel holding line `i` of a packed block of `lines` lines (panels of
// `extent`, then the tail's powers of two), and the panel's extent in *height.
vrx_int vrx_l3_panel_start(vrx_int i, vrx_int lines, vrx_int extent, vrx_int* height);
// Address of element (i, j) in a packed A (rows of panels) or packed B (columns of
// panels) block whose current extents are the view's rows and cols.
template <typename T>
T* vrx_l3_packed_a_address(vrx_int i, vrx_int j, const vrx_l3_view<T>* view);
template <typename T>
T* vrx_l3_packed_b_address(vrx_int i, vrx_int j, const vrx_l3_view<T>* view);

// Block rule of the register shape for elements of T; the buffers are not allocated here.
template <typename T>
void vrx_l3_blocking_rule(vrx_int m, vrx_int n, vrx_int k, const vrx_l3_kernel_shape* shape,
                          vrx_l3_blocking<T>* blocking);
// Bytes asked of the allocator for a buffer kind and block sizes of elements of T.
template <typename T>
std::size_t vrx_l3_blocking_bytes(std::uint64_t kind, vrx_int mc, vrx_int nc, vrx_int kc);

// The plain driver (each thread alone) and the cooperating driver (A packed by the team).
template <typename T>
void vrx_l3_driver_plain(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                         const vrx_l3_view<T>* c, vrx_l3_blocking<T>* blocking, const vrx_l3_ops<T>* ops);
template <typename T>
void vrx_l3_driver_cooperating(vrx_l3_call<T>* call, const vrx_l3_view<T>* a, const vrx_l3_view<T>* b,
                               const vrx_l3_view<T>* c, vrx_l3_blocking<T>* blocking, const vrx_l3_ops<T>* ops);

// The allocation-free road of GEMM through an unpacked kernel, with call->beta.
template <typename T>
void vrx_l3_gemm_fallback_with(vrx_gemm_fn<T> unpacked, const vrx_l3_call<T>* call, const vrx_l3_view<T>* a,
                               const vrx_l3_view<T>* b, const vrx_l3_view<T>* c);

// The blocked road of the sequential GEMM for CPU type 5 or 7 (scaling of C, the
// minimum extents, the level-3 driver), after the route's small-shape rules.
template <typename T>
void vrx_l3_gemm_blocked_road(int cpu, const char* transa, const char* transb, const vrx_int* m, const vrx_int* n,
                              const vrx_int* k, const T* alpha, const T* a, const vrx_int* lda, const T* b,
                              const vrx_int* ldb, const T* beta, T* c, const vrx_int* ldc);
// Sequential GEMM routes of CPU types 5 (AVX2 with FMA) and 7 (AVX-512), per precision.
template <typename T>
vrx_gemm_fn_type<T> vrx_blas_gemm_route_avx2;
template <typename T>
vrx_gemm_fn_type<T> vrx_blas_gemm_route_avx512;
vrx_gemm_fn_type<double> vrx_blas_dgemm_route_avx2, vrx_blas_dgemm_route_avx512;

// Height of the next packed panel of a block with `remaining` rows (or width, columns):
// the register extent, else the highest power of two in the remainder.
// Internal linkage: kernel classes compile their own copies.
namespace {
inline vrx_int vrx_l3_panel_extent(vrx_int remaining, vrx_int register_extent) {
  if (remaining >= register_extent) return register_extent;
  return vrx_int(1) << (63 - __builtin_clzll(static_cast<unsigned long long>(remaining)));
}
}  // namespace

// Scratch allocation of the driver; tests replace it to make allocations fail.
typedef void* (*vrx_l3_alloc_fn)(std::size_t size, int alignment);
extern vrx_l3_alloc_fn vrx_l3_scratch_alloc;
