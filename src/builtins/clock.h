// DATE, TIME, STIME and UTIME.
#pragma once

#include "engine/functions.h"

rx_value bu_date(const rx_expr *list);
rx_value bu_time(const rx_expr *list);
rx_value bu_stime(const rx_expr *list);
rx_value bu_utime(const rx_expr *list);
