// Reading the export that a command line names.
#pragma once

#include <string>

#include "tovocfg/exchange_file.h"

namespace tovocfg {

// Throws Stop with every reason why the file cannot be used, and `consequence` behind them.
[[nodiscard]] ExchangeFile ReadExchangeFrom(const std::string& path,
                                            const std::string& consequence = {});

}  // namespace tovocfg
