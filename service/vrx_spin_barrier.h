// The spin barrier shared by the level-3 teams and the LAPACK thread teams: two
// counters on separate cache lines; member 0 collects the arrivals and releases.
#pragma once
#include <cstdint>

struct vrx_serv_spin_barrier {
  alignas(64) std::uint64_t arrived;
  alignas(64) std::uint64_t released;
};
static_assert(sizeof(vrx_serv_spin_barrier) == 128);

// One round of waiting: a pause while counting; once the service frame's spin limit is
// reached, every further round yields the processor instead.
void vrx_serv_spin_wait_round(int* spins);

// Both counters back to 0; done by the owner of the record before the threads start.
void vrx_serv_spin_barrier_reset(vrx_serv_spin_barrier* barrier);

// Waits until all `size` members have arrived. Members other than 0 count themselves
// in with compare-and-swap; member 0 waits for them and publishes the release. A group
// of one does nothing.
void vrx_serv_spin_barrier_wait(vrx_serv_spin_barrier* barrier, int member, int size);
