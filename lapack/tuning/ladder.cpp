// Reading the ladders, row tables and routine tables that hold every tuning number.
#include "lapack/tuning/tuning_query.h"

namespace {
bool bound_holds(const vrx_ladder_step& step, std::int64_t size) {
  switch (step.bound_kind) {
    case vrx_bound_up_to: return size <= step.bound;
    case vrx_bound_below: return size < step.bound;
    default: return true;
  }
}

vrx_int step_value(const vrx_ladder_step& step, std::int64_t size, vrx_int threads) {
  switch (step.value_kind) {
    case vrx_value_threads: return threads;
    case vrx_value_scaled: return static_cast<vrx_int>(step.scale * static_cast<double>(size)) / 8 * 8;
    default: return step.value;
  }
}

bool row_holds(const vrx_tuning_row& row, const vrx_tuning_query& q, vrx_int threads, std::int64_t size) {
  return threads >= row.threads_min && threads <= row.threads_max && (row.cpus & vrx_cpu_bit(q.cpu)) != 0 &&
         (row.precisions & vrx_tuning_precision(q)) != 0 && size > row.above && vrx_tuning_holds(row.need, q);
}
}  // namespace

vrx_int vrx_ladder_pick(vrx_ladder ladder, std::int64_t size, vrx_int threads) {
  for (int i = 0; i + 1 < ladder.count; ++i)
    if (bound_holds(ladder.steps[i], size)) return step_value(ladder.steps[i], size, threads);
  return step_value(ladder.steps[ladder.count - 1], size, threads);
}

vrx_int vrx_tuning_pick_row(const vrx_tuning_row* rows, int count, const vrx_tuning_query& q, vrx_int threads,
                            std::int64_t size, vrx_int otherwise) {
  for (int i = 0; i < count; ++i)
    if (row_holds(rows[i], q, threads, size)) return vrx_ladder_pick(rows[i].ladder, size, threads);
  return otherwise;
}

vrx_int vrx_tuning_lookup(const vrx_tuning_entry* table, int count, const vrx_tuning_query& q, vrx_int otherwise) {
  const unsigned precision = vrx_tuning_precision(q);
  for (int i = 0; i < count; ++i) {
    const vrx_tuning_entry& entry = table[i];
    if ((entry.precisions & precision) == 0 || !vrx_tuning_named(q, entry.family)) continue;
    return entry.rule ? entry.rule(q) : entry.constant;
  }
  return otherwise;
}
