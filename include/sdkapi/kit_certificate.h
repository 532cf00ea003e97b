/** The server's own certificate: made at the first start, replaced by uploads, never what stops a start.
 * @file
 *
 * An uploaded certificate is judged as the server will load it, kept back until the next start, and judged
 * once more then: it takes the place of the one in use, or that one stays, and the log says why. */
#ifndef SDKAPI_KIT_CERTIFICATE_H
#define SDKAPI_KIT_CERTIFICATE_H

#include <stddef.h>
#include <stdint.h>

#include "sdkapi/export.h"
#include "sdkapi/kit_content.h"
#include "sdkapi/kit_upload.h"

SDKAPI_BEGIN

/** Where certificates are, and what a made one says. */
typedef struct SdkKitCertificateOptions {
  uint32_t size;        /**< set by the caller: sizeof(SdkKitCertificateOptions). */
  uint32_t validDays;   /**< of a made certificate, at most 36500; 0 = 3650. */
  int32_t onlyUploaded; /**< 1: none is made where there is none, for a device without HTTPS; else 0. */
  int32_t reserved;     /**< 0. */
  const char* folder; /**< for "server.pem", which is in use, and the files beside it; made when missing. NULL
                         = "tls". */
  const char* passPhrase;       /**< of encrypted keys; NULL: a random one, kept in the file "passphrase". */
  const char* commonName;       /**< of a made certificate; NULL = "device". */
  const char* alternativeNames; /**< such as "device.example,192.0.2.7", with "DNS:" or "IP:" before each when
                                   that has to be said, 1000 characters at most; NULL =
                                   "DNS:localhost,IP:127.0.0.1,IP:::1". */
} SdkKitCertificateOptions;

/** What a certificate or a request that is made names. */
typedef struct SdkKitCertificateNames {
  uint32_t size;                /**< set by the caller: sizeof(SdkKitCertificateNames). */
  uint32_t validDays;           /**< of a certificate, at most 36500; 0 = that of the options. */
  const char* commonName;       /**< 1 to 64 characters, UTF-8; NULL = that of the options. */
  const char* alternativeNames; /**< as in the options; NULL = those of the options. */
} SdkKitCertificateNames;

/** Which certificate a start found. */
typedef enum SdkKitCertificateChoice {
  kKitCertificateKept = 0,     /**< the one of the start before. */
  kKitCertificateNew = 1,      /**< an uploaded one. */
  kKitCertificatePrevious = 2, /**< the one before: the last one cannot be loaded any more. */
  kKitCertificateMade = 3,     /**< a self-signed one that was made, because there was none. */
  kKitCertificateNone = 4      /**< none: nothing was uploaded, and none is made. */
} SdkKitCertificateChoice;

/** What became of the certificates at the last start. */
typedef struct SdkKitCertificateStatus {
  uint32_t size;   /**< set by the caller: sizeof(SdkKitCertificateStatus). */
  int32_t choice;  /**< a @ref SdkKitCertificateChoice. */
  int32_t pending; /**< 1 when an uploaded one waits for the next start. */
  int32_t refused; /**< 1 when one that waited could not be used. */
  char why[256];   /**< why one could not be used; empty when all could. */
} SdkKitCertificateStatus;

/** What a certificate says. */
typedef struct SdkKitCertificateInfo {
  uint32_t size;        /**< set by the caller: sizeof(SdkKitCertificateInfo). */
  int32_t keyBits;      /**< of the public key. */
  int64_t notBefore;    /**< seconds since 1970, UTC. */
  int64_t notAfter;     /**< seconds since 1970, UTC. */
  char key[32];         /**< the key's kind, such as "RSA". */
  char subject[256];    /**< such as "CN=device". Texts are UTF-8, cut to their size. */
  char issuer[256];     /**< as the subject. */
  char names[1024];     /**< the alternative names, such as "DNS:localhost, IP Address:127.0.0.1". */
  char fingerprint[96]; /**< SHA-256 in hexadecimal with colons. */
  int32_t selfSigned;   /**< 1 when it is signed with its own key, else 0. */
  int32_t chain;        /**< certificates behind it in its file. */
} SdkKitCertificateInfo;

/** Chooses the certificate of this start, makes one where there is none that can be loaded, and gives it to
 * the library (SdkAPiSer_Cert_Set(), SdkAPiSer_CertPassword_Set()). Call it before SdkAPISer_Init(). Called
 * again, it chooses anew: for a server that is started again in this process.
 * @param options copied; NULL: all defaults.
 * @return 0; -1 for an unknown size, or when none can be loaded or made. */
SDKAPI_EXPORT int SdkKitCertificate_Start(const SdkKitCertificateOptions* options);

/** Takes a PEM file with certificate, chain and key as the server will load it: whole, a key that belongs to
 * the certificate, is strong enough (112 bits of security, such as RSA 2048) and opens with the pass phrase,
 * in a handshake that succeeds, and not expired. One that is not valid yet passes: the device's clock may be
 * wrong.
 * @copydetails SdkKitCheck */
SDKAPI_EXPORT int SdkKitCertificate_Check(const char* path, char* why, size_t whySize);

/** Gives the check that refuses a wrong PEM file while it arrives: another beginning, a block that is broken,
 * a key that does not open or does not belong to the certificate.
 * @return the check; it stays valid. */
SDKAPI_EXPORT const SdkKitPieceCheck* SdkKitCertificate_Pieces(void);

/** Keeps an uploaded certificate for the next start: an `accept` for a row without a file. One without a key
 * gets that key of this device which belongs to it: the one in use, the one that waits, or the one before. So
 * the answer to SdkKitCertificate_Request() needs none.
 * @param upload  the upload.
 * @param why     gets the reason of a refusal, as with @ref SdkKitCheck.
 * @param whySize as there.
 * @return 0; -1 when it cannot be used or kept. */
SDKAPI_EXPORT int SdkKitCertificate_Take(const SdkKitUpload* upload, char* why, size_t whySize);

/** Tells what became of the certificates.
 * @param status filled.
 * @return 0; -1 for an unknown size, or when it is not started. */
SDKAPI_EXPORT int SdkKitCertificate_Status(SdkKitCertificateStatus* status);

/** Reads what a certificate says.
 * @param path a PEM file; NULL: the one in use.
 * @param info filled.
 * @return 0; -1 for an unknown size, or a file without a certificate. */
SDKAPI_EXPORT int SdkKitCertificate_Info(const char* path, SdkKitCertificateInfo* info);

/** Reads what the certificate says that waits for the next start.
 * @param info filled.
 * @return 0; -1 for an unknown size, or when none waits. */
SDKAPI_EXPORT int SdkKitCertificate_Waiting(SdkKitCertificateInfo* info);

/** Makes a self-signed certificate with a key of its own, and keeps it for the next start as an uploaded one.
 * @param names   what it names; NULL: what the options say.
 * @param why     gets the reason of a refusal, as with @ref SdkKitCheck.
 * @param whySize as there.
 * @return 0; -1 for an unknown size, names that cannot be used, or when it cannot be kept. */
SDKAPI_EXPORT int SdkKitCertificate_Make(const SdkKitCertificateNames* names, char* why, size_t whySize);

/** Makes a signing request for the key in use; without one, for the key that waits.
 * @param names   what it names; NULL: what the options say.
 * @param pem     gets the request as PEM with its NUL.
 * @param size    bytes of pem; 8192 hold every request.
 * @param why     gets the reason of a refusal, as with @ref SdkKitCheck.
 * @param whySize as there.
 * @return 0; -1 for an unknown size, names that cannot be used, without a key, or when it does not fit. */
SDKAPI_EXPORT int SdkKitCertificate_Request(const SdkKitCertificateNames* names, char* pem, size_t size,
                                            char* why, size_t whySize);

/** Takes back what waits for the next start.
 * @return 0; -1 when nothing waits, or it cannot be removed. */
SDKAPI_EXPORT int SdkKitCertificate_Discard(void);

/** Ends. What waits for the next start waits on. */
SDKAPI_EXPORT void SdkKitCertificate_Stop(void);

SDKAPI_END

#endif
