#include "base/run_local.h"

namespace {
constinit rx_run_local_base *all_run_locals = nullptr;
}

rx_run_local_base::rx_run_local_base() : next(all_run_locals) {
    all_run_locals = this;
}

rx_context::rx_context() {
    for (rx_run_local_base *each = all_run_locals; each; each = each->next) saved_.push_back(each->save());
}

rx_context::~rx_context() {
    auto saved = saved_.begin();
    for (rx_run_local_base *each = all_run_locals; each; each = each->next) each->restore((saved++)->get());
}
