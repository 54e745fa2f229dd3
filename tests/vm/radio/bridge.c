// Carries HCI packets between a port that leads out of the machine and a Bluetooth adapter of the machine's kernel:
// the adapter exists for as long as this program runs.
//
//   bridge PORT        for example /dev/vport0p1
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

enum { BUFFER = 16384, HEADER = 5, COMMAND = 1, ACL = 2, SCO = 3, EVENT = 4, ISO = 5, VENDOR = 0xff };

// Length of the packet at `data`, of which `size` bytes are there; 0 when it cannot be known yet.
static size_t packetLength(const unsigned char* data, size_t size) {
  if (size < HEADER) return size >= 3 && data[0] == EVENT ? 3u + data[2] : 0;
  switch (data[0]) {
    case EVENT:
      return 3u + data[2];
    case ACL:
      return 5u + data[3] + 256u * data[4];
    case ISO:
      return 5u + data[3] + 256u * (data[4] & 0x3f);
    case SCO:
      return 4u + data[3];
    default:
      return 1;  // not ours: skipped byte by byte
  }
}

static int writeAll(int to, const unsigned char* data, size_t size) {
  while (size > 0) {
    const ssize_t written = write(to, data, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return -1;
    data += written;
    size -= (size_t)written;
  }
  return 0;
}

// The stream from the port, cut into packets. Returns what is left for the next time.
static ssize_t deliver(int adapter, unsigned char* data, size_t size) {
  size_t begin = 0;
  for (;;) {
    const size_t length = packetLength(data + begin, size - begin);
    if (length == 0 || length > size - begin) break;
    if (write(adapter, data + begin, length) < 0 && errno != EINVAL) perror("bridge: packet refused");
    begin += length;
  }
  memmove(data, data + begin, size - begin);
  return (ssize_t)(size - begin);
}

static int carry(int port, int adapter) {
  unsigned char outgoing[BUFFER], incoming[BUFFER];
  size_t held = 0;
  struct pollfd ends[] = {{.fd = port, .events = POLLIN}, {.fd = adapter, .events = POLLIN}};
  for (;;) {
    if (poll(ends, 2, -1) < 0 && errno != EINTR) return perror("bridge: poll"), 1;
    if (ends[0].revents & POLLIN) {
      const ssize_t size = read(port, incoming + held, sizeof incoming - held);
      if (size > 0) held = (size_t)deliver(adapter, incoming, held + (size_t)size);
    }
    if (ends[1].revents & POLLIN) {
      const ssize_t size = read(adapter, outgoing, sizeof outgoing);
      if (size > 0 && outgoing[0] != VENDOR && writeAll(port, outgoing, (size_t)size) < 0)
        return perror("bridge: port"), 1;
    }
    if (ends[0].revents & (POLLHUP | POLLERR)) return fputs("bridge: nobody at the other end\n", stderr), 1;
  }
}

int main(int count, char** arguments) {
  if (count != 2) return fputs("bridge PORT\n", stderr), 2;
  const int port = open(arguments[1], O_RDWR);
  const int adapter = open("/dev/vhci", O_RDWR);
  if (port < 0 || adapter < 0) return perror("bridge: open"), 1;
  const unsigned char create[] = {VENDOR, 0};
  if (writeAll(adapter, create, sizeof create) < 0) return perror("bridge: create"), 1;
  return carry(port, adapter);
}
