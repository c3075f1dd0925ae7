// Reading the export that a command line names.
#pragma once

#include <string>

#include "tovocfg/exchange_file.h"

namespace tovocfg {

// Of the word that stands for standard input: what it is called in texts. Of any other word: the
// full path.
[[nodiscard]] std::string ExchangeName(const std::string& word);

// Throws Stop with every reason why the file cannot be used, and `consequence` behind them.
[[nodiscard]] ExchangeFile ReadExchangeFrom(const std::string& word,
                                            const std::string& consequence = {});

}  // namespace tovocfg
