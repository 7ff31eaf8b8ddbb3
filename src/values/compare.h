// The comparison operators, for the table. They never fail: `fault` becomes 0.
#pragma once

#include "values/operators.h"

rx_value fx_eq(const rx_value &left, const rx_value &right, int &fault);
rx_value fx_neq(const rx_value &left, const rx_value &right, int &fault);
rx_value fx_sup(const rx_value &left, const rx_value &right, int &fault);
rx_value fx_inf(const rx_value &left, const rx_value &right, int &fault);
rx_value fx_supeq(const rx_value &left, const rx_value &right, int &fault);
rx_value fx_infeq(const rx_value &left, const rx_value &right, int &fault);

/// The two that ignore the case of letters in texts.
rx_value fx_eqic(const rx_value &left, const rx_value &right, int &fault);
rx_value fx_neqic(const rx_value &left, const rx_value &right, int &fault);

/// Strict comparison.
rx_value fx_eeq(const rx_value &left, const rx_value &right, int &fault);
rx_value fx_nneq(const rx_value &left, const rx_value &right, int &fault);
rx_value fx_ssup(const rx_value &left, const rx_value &right, int &fault);
rx_value fx_iinf(const rx_value &left, const rx_value &right, int &fault);
rx_value fx_ssupeq(const rx_value &left, const rx_value &right, int &fault);
rx_value fx_iinfeq(const rx_value &left, const rx_value &right, int &fault);
