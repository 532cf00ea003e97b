/* The device-status handler, for hosts that give it a route. */
#ifndef SDKAPI_DEVICE_H
#define SDKAPI_DEVICE_H

#include "sdkapi/export.h"

SDKAPI_BEGIN

/**
 * Answers with the up-time that @ref SdkAPISerHandle::DeviceStatusCb gives. No built-in route leads here.
 *
 * Runs on a worker thread. The body is <tt>{"device_status":{"uptime":TEXT}}</tt>; a failing slot gives 500
 * and the body <tt>{}</tt>.
 *
 * @param conn   the connection.
 * @param cbdata not used.
 * @return 1 answered, 0 left to the web server (slot empty).
 */
SDKAPI_EXPORT int FunDeviceStatus(struct mg_connection* conn, void* cbdata);

SDKAPI_END

#endif
