// The writer of socket addresses.
#include "core/format/strfmt.h"
#include "core/net/sockaddr.h"

namespace core {

void fmt_addr(FormatterOutputCallbackData& data, const SockAddr* addr, int width, int precision, unsigned flags) {
  const bool with_port = (flags & kFormatPort) != 0;
  const unsigned own_flags = flags & ~unsigned{kFormatPort};
  const uint64_t start = data.written;
  if (addr->family == AF_INET || addr->is_mapped_v4()) {
    fmt_ip(data, addr->get_addr4(), 0, precision, own_flags);
  } else if (with_port) {
    data.emit("[", 1);
    fmt_ip_v6(data, addr->address, 0, precision, own_flags);
    data.emit("]", 1);
  } else {
    fmt_ip_v6(data, addr->address, 0, precision, own_flags);
  }
  if (with_port) {
    data.emit(":", 1);
    fmt_number(data, addr->port, 10, 0, precision, 0);
  }
  data.pad_since(start, width);
}

}  // namespace core
