// A peer to measure against: the conversion as one would write it in an afternoon. A line is cut
// with strtok, a point is one record of fixed-size texts, units and channels stand in lists that
// are kept sorted by walking, and every element is one fprintf. It knows the files that
// make_mapping.py writes, checks nothing and releases nothing.
//
// usage: peer_plain MAPPING OUTPUT
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

namespace {

struct channel {
  channel* next = nullptr;
  long reference = 0;
  long mask = 0;
  char name[64] = "";
  char instance[32] = "";
  char chn_type[32] = "";
  char bac_type[32] = "";
  char bac_units[32] = "";
  char bac_cov_inc[32] = "";
  char bac_desc[64] = "Default channel description";
  char scl_dev_lo[32] = "0";
  char scl_dev_hi[32] = "1";
  char scl_usr_lo[32] = "0";
  char scl_usr_hi[32] = "1";
  char inp_filter[32] = "0";
  char inp_level_lo[32] = "0";
  char inp_level_hi[32] = "1";
  char pulse_period[32] = "1";
  char temp_offset[32] = "0";
  char temp_units[32] = "FAHRENHEIT";
  char reg_group_en[32] = "0";
  char reg_mask[32] = "0";
  char reg_restart[32] = "0";
  char reg_num[32] = "";
  char reg_size[32] = "1";
  char reg_endian[32] = "BIG";
  char reg_format[32] = "UNSIGNED";
  char reg_fcn[32] = "";
  char initial_val[32] = "OFF";
  char alarm_lo[32] = "OFF";
  char alarm_hi[32] = "OFF";
  char hoa_switch[32] = "AUTO";
  char override_val[32] = "0";
  char limit_lo[32] = "0";
  char limit_hi[32] = "65535";
  char persistent[32] = "0";
};

struct unit {
  unit* next = nullptr;
  channel* channels = nullptr;
  long number = 0;
  char ip_address[32] = "";
  char address[32] = "";
};

constexpr struct {
  const char *data_type, *size, *endian, *format;
} data_types[] = {
    {"Floating Point HI/LO", "2", "BIG", "FLOAT"},
    {"Floating Point LO/HI", "2", "LITTLE", "FLOAT"},
    {"32 Bit Unsigned Integer HI/LO", "2", "BIG", "UNSIGNED"},
    {"32 Bit Unsigned Integer LO/HI", "2", "LITTLE", "UNSIGNED"},
    {"32 Bit Signed Integer HI/LO", "2", "BIG", "SIGNED"},
    {"32 Bit Signed Integer LO/HI", "2", "LITTLE", "SIGNED"},
    {"16 Bit Unsigned Integer", "1", "BIG", "UNSIGNED"},
    {"16 Bit Signed Integer", "1", "BIG", "SIGNED"},
    {"Bit16", "1", "BIG", "UNSIGNED"},
    {"Bit32 HI/LO", "2", "BIG", "UNSIGNED"},
    {"Bit32 LO/HI", "2", "LITTLE", "UNSIGNED"},
};

constexpr int most_fields = 17;

template <std::size_t Size>
void copy(char (&to)[Size], const char* from) {
  const std::size_t length = std::min(std::strlen(from), Size - 1);
  std::memcpy(to, from, length);
  to[length] = '\0';
}

int split(char* line, char* fields[most_fields]) {
  int count = 0;
  for (char* field = std::strtok(line, ",\"\r\n"); field != nullptr && count < most_fields;
       field = std::strtok(nullptr, ",\"\r\n")) {
    fields[count++] = field;
  }
  return count;
}

// Units of the other kind are passed over: each kind is sorted for itself.
int compare(const unit& one, const unit& other) {
  if ((one.ip_address[0] == '\0') != (other.ip_address[0] == '\0')) return -1;
  if (const int order = std::strcmp(one.ip_address, other.ip_address); order != 0) return order;
  return one.number < other.number ? -1 : one.number > other.number;
}

unit* find_or_add_unit(unit*& list, const char* field) {
  unit wanted;
  if (const char* slash = std::strchr(field, '/'); slash != nullptr) {
    copy(wanted.ip_address, std::string(field, slash).c_str());
    field = slash + 1;
  }
  copy(wanted.address, field);
  wanted.number = std::strtol(field, nullptr, 10);
  unit** link = &list;
  while (*link != nullptr && compare(**link, wanted) < 0) link = &(*link)->next;
  if (*link != nullptr && compare(**link, wanted) == 0) return *link;
  wanted.next = *link;
  *link = new unit(wanted);
  return *link;
}

void add_channel(unit& owner, channel* added) {
  channel** link = &owner.channels;
  while (*link != nullptr &&
         ((*link)->reference < added->reference ||
          ((*link)->reference == added->reference && (*link)->mask <= added->mask))) {
    link = &(*link)->next;
  }
  added->next = *link;
  *link = added;
}

void set_register(channel& chn, char** fields) {
  chn.reference = std::strtol(fields[4], nullptr, 10);
  std::snprintf(chn.reg_num, sizeof chn.reg_num, "%05ld", chn.reference);
  for (const auto& row : data_types) {
    if (std::strcmp(row.data_type, fields[5]) != 0) continue;
    copy(chn.reg_size, row.size);
    copy(chn.reg_endian, row.endian);
    copy(chn.reg_format, row.format);
  }
  const bool is_bit = std::strstr(fields[5], "Bit16") || std::strstr(fields[5], "Bit32");
  const long bit = std::strtol(fields[10], nullptr, 10);
  chn.mask = is_bit && bit < 31 ? 1L << bit : 0;
  std::snprintf(chn.reg_mask, sizeof chn.reg_mask, "%ld", chn.mask);
  copy(chn.reg_group_en, is_bit ? "1" : fields[15]);
  copy(chn.reg_restart, fields[16]);
}

void set_scaling(channel& chn, char** fields) {
  const auto is_zero = [](const char* field) { return std::strcmp(field, "0") == 0; };
  if (std::all_of(fields + 11, fields + 15, is_zero)) return;
  copy(chn.scl_dev_lo, fields[11]);
  copy(chn.scl_dev_hi, fields[12]);
  copy(chn.scl_usr_lo, fields[13]);
  copy(chn.scl_usr_hi, fields[14]);
}

void set_type(channel& chn) {
  copy(chn.reg_fcn, std::strcmp(chn.reg_size, "2") == 0 ? "16" : "6");
  switch (chn.reg_num[0]) {
    case '0':
      copy(chn.chn_type,
           std::strcmp(chn.bac_type, "BINARY_INPUT") == 0 ? "INPUT_MCD_BIN" : "OUTPUT_MCD_BIN");
      copy(chn.reg_fcn, "5");
      break;
    case '1':
      copy(chn.chn_type, "INPUT_MCD_BIN");
      break;
    case '3':
      copy(chn.chn_type, "INPUT_MCD_IREG");
      break;
    default:
      copy(chn.chn_type,
           std::strcmp(chn.bac_type, "ANALOG_INPUT") == 0 ? "INPUT_MCD_HREG" : "OUTPUT_MCD_HREG");
  }
}

void read_point(unit*& units, char** fields) {
  auto* chn = new channel;
  copy(chn->bac_cov_inc, fields[1]);
  copy(chn->name, fields[2]);
  copy(chn->bac_type, fields[6]);
  copy(chn->instance, fields[7]);
  copy(chn->bac_units, fields[8]);
  if (std::strcmp(fields[9], "0") != 0) copy(chn->bac_desc, fields[9]);
  set_register(*chn, fields);
  set_scaling(*chn, fields);
  set_type(*chn);
  add_channel(*find_or_add_unit(units, fields[3]), chn);
}

void write_element(std::FILE* out, const char* tag, const char* text) {
  std::fprintf(out, "\t\t\t<%s>%s</%s>\r\n", tag, text, tag);
}

void write_channel(std::FILE* out, const channel& chn) {
  std::fprintf(out, "\t\t<chn_cfg name=\"%s\" instance=\"%s\">\r\n", chn.name, chn.instance);
  write_element(out, "chn_type", chn.chn_type);
  write_element(out, "bac_type", chn.bac_type);
  write_element(out, "bac_units", chn.bac_units);
  write_element(out, "bac_cov_inc", chn.bac_cov_inc);
  write_element(out, "bac_desc", chn.bac_desc);
  write_element(out, "scl_dev_lo", chn.scl_dev_lo);
  write_element(out, "scl_dev_hi", chn.scl_dev_hi);
  write_element(out, "scl_usr_lo", chn.scl_usr_lo);
  write_element(out, "scl_usr_hi", chn.scl_usr_hi);
  write_element(out, "inp_filter", chn.inp_filter);
  write_element(out, "inp_level_lo", chn.inp_level_lo);
  write_element(out, "inp_level_hi", chn.inp_level_hi);
  write_element(out, "pulse_period", chn.pulse_period);
  write_element(out, "temp_offset", chn.temp_offset);
  write_element(out, "temp_units", chn.temp_units);
  write_element(out, "reg_group_en", chn.reg_group_en);
  write_element(out, "reg_mask", chn.reg_mask);
  write_element(out, "reg_restart", chn.reg_restart);
  write_element(out, "reg_num", chn.reg_num);
  write_element(out, "reg_size", chn.reg_size);
  write_element(out, "reg_endian", chn.reg_endian);
  write_element(out, "reg_format", chn.reg_format);
  write_element(out, "reg_fcn", chn.reg_fcn);
  write_element(out, "initial_val", chn.initial_val);
  write_element(out, "alarm_lo", chn.alarm_lo);
  write_element(out, "alarm_hi", chn.alarm_hi);
  write_element(out, "hoa_switch", chn.hoa_switch);
  write_element(out, "override_val", chn.override_val);
  write_element(out, "limit_lo", chn.limit_lo);
  write_element(out, "limit_hi", chn.limit_hi);
  write_element(out, "persistent", chn.persistent);
  std::fprintf(out, "\t\t</chn_cfg>\r\n");
}

void write_unit(std::FILE* out, const unit& written) {
  if (written.ip_address[0] != '\0') {
    std::fprintf(out,
                 "\t<unit_cfg name=\"Default Modbus/TCP CSV Unit Name\" type=\"MODBUS_TCP\" "
                 "ip_address=\"%s\" address=\"%s\" poll_delay=\"0\">\r\n",
                 written.ip_address, written.address);
  } else {
    std::fprintf(out,
                 "\t<unit_cfg name=\"Default Modbus CSV Unit Name\" type=\"MODBUS\" "
                 "address=\"%s\" poll_delay=\"0\">\r\n",
                 written.address);
  }
  for (const channel* chn = written.channels; chn != nullptr; chn = chn->next) {
    write_channel(out, *chn);
  }
  std::fprintf(out, "\t</unit_cfg>\r\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  std::ifstream in(argv[1]);
  if (!in) return 1;
  unit* units = nullptr;
  for (std::string line; std::getline(in, line);) {
    char* fields[most_fields];
    if (split(line.data(), fields) == most_fields) read_point(units, fields);
  }
  std::FILE* out = std::fopen(argv[2], "w");
  if (out == nullptr) return 1;
  for (const unit* written = units; written != nullptr; written = written->next) {
    write_unit(out, *written);
  }
  return std::fclose(out) == 0 ? 0 : 1;
}
