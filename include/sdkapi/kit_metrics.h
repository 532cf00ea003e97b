/** Metrics: what the server and the device do, as text that Prometheus reads.
 * @file
 *
 * A host gives the rows of its own, and binds @ref SdkKitMetrics_Answer to a route of its choice, such as
 * "/metrics$", through whatever checks the rights of its own routes. */
#ifndef SDKAPI_KIT_METRICS_H
#define SDKAPI_KIT_METRICS_H

#include <stddef.h>
#include <stdint.h>

#include "sdkapi/custom.h"
#include "sdkapi/export.h"

SDKAPI_BEGIN

/** What a number means. */
typedef enum SdkKitMetricKind {
  kKitGauge = 0,  /**< it goes up and down. */
  kKitCounter = 1 /**< it only grows while the process lives; by custom its name ends in "_total". */
} SdkKitMetricKind;

/** A metric of the host's own. Texts must hold until the metrics are stopped. */
typedef struct SdkKitMetric {
  const char* name;   /**< letters, digits, "_" and ":", no digit first. A row with the name of the row above
                         belongs to the same metric, with other labels. */
  const char* help;   /**< what it counts, in one line; not looked at where the row above has the name. */
  const char* labels; /**< as they stand between the braces, such as `input="1"`; NULL: none. */
  int32_t kind;       /**< @ref SdkKitMetricKind. */
  int32_t reserved;   /**< 0. */
  /** Tells the number. Runs on a worker of the web server, several at once; must not block.
   * @return the number, also a NaN. */
  double (*read)(void);
} SdkKitMetric;

/** The metrics of a device. */
typedef struct SdkKitMetricsOptions {
  uint32_t size;               /**< `sizeof` the record. */
  uint32_t metricSize;         /**< `sizeof` one of its rows; 0 without any. */
  const SdkKitMetric* metrics; /**< the host's own; NULL: none. */
  size_t count;                /**< how many, at most 1000. */
} SdkKitMetricsOptions;

/** Takes the host's rows; called again, the new ones in their place. Without it the metrics are those of the
 * server and the process.
 * @param options the rows, which are copied.
 * @return 0; -1 for a record, a name, a help or labels that are not in order, or without `read`. */
SDKAPI_EXPORT int SdkKitMetrics_Start(const SdkKitMetricsOptions* options);

/** Answers a request with all metrics: a function for a get/post route. Methods other than GET get 405.
 * @copydetails CustomGetPostFunction */
SDKAPI_EXPORT int SdkKitMetrics_Answer(struct mg_connection* conn, CustomReqInfo* req);

/** Forgets the host's rows. */
SDKAPI_EXPORT void SdkKitMetrics_Stop(void);

SDKAPI_END

#endif
