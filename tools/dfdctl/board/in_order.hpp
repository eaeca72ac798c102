// SPDX-License-Identifier: MIT
#pragma once

namespace dfdctl {

/// Finds keys of a map that are mostly asked for in their order, without a search from its top.
template <typename Map>
class InOrder {
  public:
    explicit InOrder(Map &map) : map_(&map), last_(map.end()) {}

    auto find(const typename Map::key_type &key) {
        if (last_ != map_->end() && last_->first < key) {
            ++last_;
        }
        if (last_ == map_->end() || last_->first != key) {
            last_ = map_->find(key);
        }
        return last_;
    }
    /// The same, made where there is none.
    auto find_or_make(const typename Map::key_type &key) {
        if (find(key) == map_->end()) {
            last_ = map_->try_emplace(key).first;
        }
        return last_;
    }

  private:
    Map *map_;
    decltype(map_->end()) last_;
};

}  // namespace dfdctl
