// Element-type facts shared by every layer: the two complex types, the real type behind
// each element type, its precision letter and level-3 type code, conjugation and the
// cheap magnitude |re| + |im|, and the machine constants as constexpr values.
#pragma once
#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <type_traits>

// Complex numbers laid out like C's _Complex float and _Complex double (real part
// first), with plain arithmetic so that inner loops never call a runtime multiply.
template <typename R>
struct vrx_complex {
  R re;
  R im;
};
typedef vrx_complex<float> vrx_complex_float;
typedef vrx_complex<double> vrx_complex_double;
static_assert(sizeof(vrx_complex_float) == 8 && alignof(vrx_complex_float) == 4);
static_assert(sizeof(vrx_complex_double) == 16 && alignof(vrx_complex_double) == 8);

template <typename R>
constexpr vrx_complex<R> operator+(vrx_complex<R> x, vrx_complex<R> y) {
  return {x.re + y.re, x.im + y.im};
}
template <typename R>
constexpr vrx_complex<R> operator-(vrx_complex<R> x, vrx_complex<R> y) {
  return {x.re - y.re, x.im - y.im};
}
template <typename R>
constexpr vrx_complex<R> operator-(vrx_complex<R> x) {
  return {-x.re, -x.im};
}
template <typename R>
constexpr vrx_complex<R> operator*(vrx_complex<R> x, vrx_complex<R> y) {
  return {x.re * y.re - x.im * y.im, x.re * y.im + x.im * y.re};
}
template <typename R>
constexpr vrx_complex<R> operator*(R s, vrx_complex<R> x) {
  return {s * x.re, s * x.im};
}
template <typename R>
constexpr vrx_complex<R> operator*(vrx_complex<R> x, R s) {
  return {x.re * s, x.im * s};
}
template <typename R>
constexpr vrx_complex<R>& operator+=(vrx_complex<R>& x, vrx_complex<R> y) {
  x.re += y.re;
  x.im += y.im;
  return x;
}
template <typename R>
constexpr vrx_complex<R>& operator-=(vrx_complex<R>& x, vrx_complex<R> y) {
  x.re -= y.re;
  x.im -= y.im;
  return x;
}
template <typename R>
constexpr vrx_complex<R>& operator*=(vrx_complex<R>& x, vrx_complex<R> y) {
  x = x * y;
  return x;
}
template <typename R>
constexpr bool operator==(vrx_complex<R> x, vrx_complex<R> y) {
  return x.re == y.re && x.im == y.im;
}
template <typename R>
constexpr bool operator!=(vrx_complex<R> x, vrx_complex<R> y) {
  return !(x == y);
}

// Machine constants of a real type, as the LAPACK machine query names them: eps is the
// relative rounding error (half an ulp of 1), sfmin the smallest number whose reciprocal
// does not overflow, prec eps times the base.
template <typename R>
struct vrx_machine;
template <>
struct vrx_machine<float> {
  static constexpr float eps = FLT_EPSILON * 0.5f;
  static constexpr float sfmin = FLT_MIN;
  static constexpr float base = 2.0f;
  static constexpr float prec = FLT_EPSILON;
  static constexpr float digits = FLT_MANT_DIG;
  static constexpr float rounding = 1.0f;
  static constexpr float emin = FLT_MIN_EXP;
  static constexpr float rmin = FLT_MIN;
  static constexpr float emax = FLT_MAX_EXP;
  static constexpr float rmax = FLT_MAX;
};
template <>
struct vrx_machine<double> {
  static constexpr double eps = DBL_EPSILON * 0.5;
  static constexpr double sfmin = DBL_MIN;
  static constexpr double base = 2.0;
  static constexpr double prec = DBL_EPSILON;
  static constexpr double digits = DBL_MANT_DIG;
  static constexpr double rounding = 1.0;
  static constexpr double emin = DBL_MIN_EXP;
  static constexpr double rmin = DBL_MIN;
  static constexpr double emax = DBL_MAX_EXP;
  static constexpr double rmax = DBL_MAX;
};

// The machine query by its letter ('E', 'S', 'B', 'P', 'N', 'R', 'M', 'U', 'L', 'O',
// either case); 0 for any other letter.
template <typename R>
constexpr R vrx_lamch(char what) {
  typedef vrx_machine<R> m;
  switch (what | 0x20) {
    case 'e': return m::eps;
    case 's': return m::sfmin;
    case 'b': return m::base;
    case 'p': return m::prec;
    case 'n': return m::digits;
    case 'r': return m::rounding;
    case 'm': return m::emin;
    case 'u': return m::rmin;
    case 'l': return m::emax;
    case 'o': return m::rmax;
    default: return 0;
  }
}

// Level-3 element type codes carried in the call records.
enum : std::uint32_t {
  VRX_TYPE_FLOAT = 1,
  VRX_TYPE_DOUBLE = 2,
  VRX_TYPE_COMPLEX_FLOAT = 3,
  VRX_TYPE_COMPLEX_DOUBLE = 4,
};

template <typename T>
struct vrx_traits;

template <typename R, char Letter, std::uint32_t Code>
struct vrx_real_traits {
  typedef R real;
  static constexpr bool is_complex = false;
  static constexpr char letter = Letter;
  static constexpr std::uint32_t type_code = Code;
  static constexpr std::size_t bytes = sizeof(R);
  // Transposition letter of the adjoint, and the symmetric / orthogonal family letters.
  static constexpr char adjoint = 'T';
  static constexpr const char* symmetric = "SY";
  static constexpr const char* orthogonal = "OR";
  static constexpr R conj(R x) { return x; }
  static constexpr R real_part(R x) { return x; }
  static constexpr R imag_part(R) { return 0; }
  static constexpr R make(R re, R) { return re; }
  static constexpr R abs1(R x) { return x < 0 ? -x : x; }
  static constexpr R scale(R s, R x) { return s * x; }
  static constexpr bool is_zero(R x) { return x == 0; }
  static constexpr bool is_one(R x) { return x == 1; }
};

template <typename R, char Letter, std::uint32_t Code>
struct vrx_complex_traits {
  typedef R real;
  typedef vrx_complex<R> T;
  static constexpr bool is_complex = true;
  static constexpr char letter = Letter;
  static constexpr std::uint32_t type_code = Code;
  static constexpr std::size_t bytes = sizeof(T);
  static constexpr char adjoint = 'C';
  static constexpr const char* symmetric = "HE";
  static constexpr const char* orthogonal = "UN";
  static constexpr T conj(T x) { return {x.re, -x.im}; }
  static constexpr R real_part(T x) { return x.re; }
  static constexpr R imag_part(T x) { return x.im; }
  static constexpr T make(R re, R im) { return {re, im}; }
  static constexpr R abs1(T x) { return (x.re < 0 ? -x.re : x.re) + (x.im < 0 ? -x.im : x.im); }
  static constexpr T scale(R s, T x) { return {s * x.re, s * x.im}; }
  static constexpr bool is_zero(T x) { return x.re == 0 && x.im == 0; }
  static constexpr bool is_one(T x) { return x.re == 1 && x.im == 0; }
};

template <>
struct vrx_traits<float> : vrx_real_traits<float, 'S', VRX_TYPE_FLOAT> {};
template <>
struct vrx_traits<double> : vrx_real_traits<double, 'D', VRX_TYPE_DOUBLE> {};
template <>
struct vrx_traits<vrx_complex_float> : vrx_complex_traits<float, 'C', VRX_TYPE_COMPLEX_FLOAT> {};
template <>
struct vrx_traits<vrx_complex_double> : vrx_complex_traits<double, 'Z', VRX_TYPE_COMPLEX_DOUBLE> {};

template <typename T>
using vrx_real_t = typename vrx_traits<T>::real;
template <typename T>
constexpr bool vrx_is_complex = vrx_traits<T>::is_complex;

// A routine's full name from its family part: vrx_routine_name<double>("GETRF") is
// "DGETRF". The buffer holds up to 15 characters and the terminator.
struct vrx_routine_name_buffer {
  char text[16];
};
template <typename T>
constexpr vrx_routine_name_buffer vrx_routine_name(const char* family) {
  vrx_routine_name_buffer name = {};
  name.text[0] = vrx_traits<T>::letter;
  for (int i = 0; i < 14 && family[i]; ++i) name.text[i + 1] = family[i];
  return name;
}
