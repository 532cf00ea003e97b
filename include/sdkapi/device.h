/** The device-status handler, for hosts that give it a route. @file */
#ifndef SDKAPI_DEVICE_H
#define SDKAPI_DEVICE_H

#include "sdkapi/export.h"
#include "sdkapi/http.h"

SDKAPI_BEGIN

/** Answers with the up-time that @ref SdkAPISerHandle::DeviceStatusCb gives. No built-in route leads here.
 * The body is <tt>{"device_status":{"uptime":TEXT}}</tt>; a failing slot gives 500 and the body <tt>{}</tt>.
 * @copydetails SdkApiRequestHandler */
SDKAPI_EXPORT int FunDeviceStatus(struct mg_connection* conn, void* cbdata);

SDKAPI_END

#endif
