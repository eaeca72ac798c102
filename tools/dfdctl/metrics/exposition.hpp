// SPDX-License-Identifier: MIT
// Metrics in the text format that Prometheus reads.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace dfdctl {

/// Names and values as they are; a label with an empty value is one that is not there.
using Labels = std::vector<std::pair<std::string, std::string>>;

/// Families of samples. All are gauges: what one pass tells, the next one tells anew.
class Exposition {
  public:
    /// The family of this name, behind all others where it is new: then `help` describes it.
    void add(const std::string &name, std::string_view help, const Labels &labels,
             std::string_view value);
    /// HELP and TYPE once for each family, then its samples.
    std::string text() const;

  private:
    struct Family {
        std::string name;
        std::string help;
        std::string samples;
    };

    std::vector<Family> families_;
};

}  // namespace dfdctl
