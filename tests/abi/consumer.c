/* A small host: starts the server on a free port, asks it for the device information, stops it. */
#include <arpa/inet.h>
#include <civetweb.h>
#include <sdkapi/extension.h>
#include <sdkapi/sdkapi.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

static int DeviceInformation(const char* token, DeviceInfo* info) {
  (void)token;
  strcpy(info->model, "consumer");
  return 0;
}

static struct sockaddr_in Loopback(int port) {
  struct sockaddr_in address;
  memset(&address, 0, sizeof address);
  address.sin_family = AF_INET;
  address.sin_port = htons((unsigned short)port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

static int FreePort(void) {
  const int probe = socket(AF_INET, SOCK_STREAM, 0);
  struct sockaddr_in address = Loopback(0);
  socklen_t length = sizeof address;
  bind(probe, (struct sockaddr*)&address, length);
  getsockname(probe, (struct sockaddr*)&address, &length);
  close(probe);
  return ntohs(address.sin_port);
}

static int Ask(int port, char* reply, size_t size) {
  const char request[] = "GET /dev_info HTTP/1.1\r\nHost: localhost\r\n\r\n";
  const struct sockaddr_in address = Loopback(port);
  const int client = socket(AF_INET, SOCK_STREAM, 0);
  size_t used = 0;
  ssize_t got = 0;
  if (connect(client, (const struct sockaddr*)&address, sizeof address) != 0) return -1;
  if (write(client, request, sizeof request - 1) < 0) return -1;
  while (used < size - 1 && (got = read(client, reply + used, size - 1 - used)) > 0) used += (size_t)got;
  reply[used] = '\0';
  close(client);
  return 0;
}

int main(void) {
  SdkAPISerHandle table;
  char reply[2048];
  int port = 0;
  memset(&table, 0, sizeof table);
  table.DeviceInfoCb = DeviceInformation;
  if (SdkAPIExt_SilentFailure_Set(500) != 0) return 4;
  for (int attempt = 0; attempt < 10; ++attempt) {
    port = FreePort();
    SdkAPISer_Port_Set(port, 0);
    SdkAPISer_Init();
    if (SdkAPISer_Start(&table) == 0) break;
    port = 0;
  }
  if (port == 0 || Ask(port, reply, sizeof reply) != 0) return 1;
  SdkAPISer_Stop(NULL);
  if (mg_check_feature(MG_FEATURES_WEBSOCKET) == 0)
    return 3; /* the host calls the library's own web server */
  return strstr(reply, "\r\n\r\n{\"model\":\"consumer\"}") != NULL ? 0 : 2;
}
