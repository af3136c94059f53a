// Units and points of a configuration that are in each other's way.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "repeats.h"
#include "report/rules.h"
#include "ruvex/cfg/records.h"
#include "text/cells.h"

namespace ruvex {

// Where the settings of a channel stand that another must not have; the channel's own place for
// those that it lacks.
struct channel_places {
  text_place channel, name, instance, reference;
};

// The units and channels outlive this object.
class document_repeats {
 public:
  // Adds to `list` what a unit repeats, and remembers it.
  void check_unit(std::vector<finding>& list, const text_place& place, const unit_cfg& unit);

  // The same for a channel of `unit`. Its register counts where the unit is reached by Modbus.
  void check_channel(std::vector<finding>& list, const channel_places& places, const unit_cfg& unit,
                     const chn_cfg& chn);

 private:
  std::unordered_map<std::string, std::size_t> units_;  // the line of each
  repeats repeats_;
};

}  // namespace ruvex
