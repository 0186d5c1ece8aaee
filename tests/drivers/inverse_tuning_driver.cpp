// Child-process driver for the inverse's tuning. Each argument prints one line:
//   key,NAME,n,threads   the tuning answer
//   getri,n,threads      work(1) of DGETRI's workspace query with the LAPACK domain's
//                        thread count forced to `threads` on this thread
#include <cstdio>
#include <cstring>

#include "lapack/solve/vrx_solve.h"
#include "service/vrx_threads.h"

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    long long key = 0, n = 0, threads = 0;
    char name[16] = {};
    if (std::sscanf(argv[i], "getri,%lld,%lld", &n, &threads) == 2) {
      vrx_int order = n, lda = n > 1 ? n : 1, lwork = -1, info = 0;
      double work = 0, a = 0;
      *vrx_serv_thread_override() = static_cast<int>(threads);
      vrx_lapack_dgetri(&order, &a, &lda, nullptr, &work, &lwork, &info);
      *vrx_serv_thread_override() = 0;
      std::printf("%.0f\n", work);
    } else if (std::sscanf(argv[i], "%lld,%15[^,],%lld,%lld", &key, name, &n, &threads) == 4) {
      const vrx_int k = key, order = n, t = threads;
      std::printf("%lld\n", static_cast<long long>(vrx_lapack_inverse_tuning(&k, name, "", &order, &t)));
    } else {
      std::printf("bad query\n");
    }
  }
  return 0;
}
