// Size and place of every field that a host sees: hosts are compiled with them and own the records' memory.
#include <cstddef>

#include "sdkapi/extension.h"
#include "sdkapi/sdkapi.h"

static_assert(sizeof(void*) == 8, "the host interface is defined for 64-bit targets");

static_assert(sizeof(SdkAPISerHandle) == 1296);
static_assert(offsetof(SdkAPISerHandle, AuthQueryCb) == 0);
static_assert(offsetof(SdkAPISerHandle, LoginCb) == 1 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, LogOutCb) == 2 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, ChangeUserInfoCb) == 3 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, ManageUserCb) == 4 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, DeviceInfoCb) == 5 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, CustomRestoreCb) == 7 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, DeviceStatusCb) == 11 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, DownloadLogFileCb) == 17 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, DownloadCustomCb) == 18 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, DownloadSceneFileCb) == 19 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, PreviewCb) == 20 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, GetTxRxListCb) == 21 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, GetPrivJsonCb) == 22 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, SpecifyPrivCb) == 23 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, DeletePrivCb) == 24 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, DownloadEdidFileCb) == 25 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, DownloadSettingFileCb) == 26 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, DownloadImageFileCb) == 27 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, UploadImageFileCb) == 28 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, UploadTxtFileCb) == 29 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, UploadCertFileCb) == 30 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, UploadZipFileCb) == 31 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, UpgradeCb) == 32 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, WebSocketCb) == 33 * sizeof(void*));
static_assert(offsetof(SdkAPISerHandle, data) == 34 * sizeof(void*));

static_assert(sizeof(LoginInfo) == 1360);
static_assert(offsetof(LoginInfo, password) == 32);
static_assert(offsetof(LoginInfo, token) == 288);
static_assert(offsetof(LoginInfo, lockTime) == 1312);
static_assert(offsetof(LoginInfo, wizard) == 1320);
static_assert(offsetof(LoginInfo, firstlogin) == 1352);
static_assert(offsetof(LoginInfo, code) == 1356);

static_assert(sizeof(ChangeUserRequest) == 584);
static_assert(offsetof(ChangeUserRequest, newusername) == 32);
static_assert(offsetof(ChangeUserRequest, newpassword) == 64);
static_assert(offsetof(ChangeUserRequest, oldpassword) == 320);
static_assert(offsetof(ChangeUserRequest, changeType) == 576);
static_assert(offsetof(ChangeUserRequest, code) == 580);

static_assert(sizeof(ManageUserRequest) == 332);
static_assert(offsetof(ManageUserRequest, username) == 4);
static_assert(offsetof(ManageUserRequest, password) == 36);
static_assert(offsetof(ManageUserRequest, action) == 292);
static_assert(offsetof(ManageUserRequest, code) == 296);

static_assert(sizeof(DeviceInfo) == 904);
static_assert(offsetof(DeviceInfo, model) == 512);
static_assert(offsetof(DeviceInfo, security) == 544);
static_assert(offsetof(DeviceInfo, timeout) == 576);
static_assert(offsetof(DeviceInfo, devicetime) == 580);

static_assert(sizeof(PrivEntry) == 12936);
static_assert(offsetof(PrivEntry, hostcount) == 4);
static_assert(offsetof(PrivEntry, hostname) == 8);
static_assert(offsetof(PrivEntry, picname) == 12808);
static_assert(sizeof(PrivList) == 16);
static_assert(offsetof(PrivList, entries) == 8);

static_assert(sizeof(CustomRestoreArg) == 8);

static_assert(sizeof(DownloadFileInfo) == 512);
static_assert(offsetof(DownloadFileInfo, path) == 256);
static_assert(sizeof(DownloadSettingInfo) == 544);
static_assert(offsetof(DownloadSettingInfo, name) == 32);
static_assert(offsetof(DownloadSettingInfo, path) == 288);

static_assert(sizeof(PreviewFrame) == 655408);
static_assert(offsetof(PreviewFrame, state) == 32);
static_assert(offsetof(PreviewFrame, frame) == 36);
static_assert(offsetof(PreviewFrame, length) == 655400);

static_assert(sizeof(UploadFileCtx) == 33072);
static_assert(offsetof(UploadFileCtx, name) == 32768);
static_assert(offsetof(UploadFileCtx, fileName) == 32896);
static_assert(offsetof(UploadFileCtx, length) == 33024);
static_assert(offsetof(UploadFileCtx, noFileName) == 33032);
static_assert(offsetof(UploadFileCtx, pieceState) == 33036);
static_assert(offsetof(UploadFileCtx, endFlag) == 33040);
static_assert(offsetof(UploadFileCtx, extra) == 33048);
static_assert(offsetof(UploadFileCtx, loginHandle) == 33056);
static_assert(offsetof(UploadFileCtx, error) == 33064);
static_assert(offsetof(UploadFileCtx, funcId) == 33068);

static_assert(sizeof(UploadCustomCtx) == 33080);
static_assert(offsetof(UploadCustomCtx, extra) == 33048);
static_assert(offsetof(UploadCustomCtx, hostFunction) == 33056);
static_assert(offsetof(UploadCustomCtx, conn) == 33064);
static_assert(offsetof(UploadCustomCtx, error) == 33072);

static_assert(sizeof(CustomReqInfo) == 24);
static_assert(offsetof(CustomReqInfo, bodyLength) == 8);
static_assert(offsetof(CustomReqInfo, method) == 16);
static_assert(sizeof(CustomDownloadInfo) == 512);
static_assert(offsetof(CustomDownloadInfo, filePath) == 256);

static_assert(sizeof(SdkAPIExtUpload) == 48);
static_assert(offsetof(SdkAPIExtUpload, family) == 4);
static_assert(offsetof(SdkAPIExtUpload, funcId) == 8);
static_assert(offsetof(SdkAPIExtUpload, completed) == 12);
static_assert(offsetof(SdkAPIExtUpload, status) == 16);
static_assert(offsetof(SdkAPIExtUpload, token) == 24);
static_assert(offsetof(SdkAPIExtUpload, file) == 32);
static_assert(offsetof(SdkAPIExtUpload, custom) == 40);
static_assert(sizeof(SdkAPIExtLogin) == 1112);
static_assert(offsetof(SdkAPIExtLogin, webSockets) == 4);
static_assert(offsetof(SdkAPIExtLogin, ageSeconds) == 8);
static_assert(offsetof(SdkAPIExtLogin, idleSeconds) == 16);
static_assert(offsetof(SdkAPIExtLogin, address) == 24);
static_assert(offsetof(SdkAPIExtLogin, token) == 88);

static_assert(sizeof(SdkAPIExtLoginLimits) == 32);
static_assert(offsetof(SdkAPIExtLoginLimits, idleSeconds) == 4);
static_assert(offsetof(SdkAPIExtLoginLimits, totalSeconds) == 8);
static_assert(offsetof(SdkAPIExtLoginLimits, most) == 12);
static_assert(offsetof(SdkAPIExtLoginLimits, whenFull) == 16);
static_assert(offsetof(SdkAPIExtLoginLimits, ended) == 24);

static_assert(sizeof(SdkAPIExtWebSocket) == 1120);
static_assert(offsetof(SdkAPIExtWebSocket, port) == 4);
static_assert(offsetof(SdkAPIExtWebSocket, id) == 8);
static_assert(offsetof(SdkAPIExtWebSocket, ageSeconds) == 16);
static_assert(offsetof(SdkAPIExtWebSocket, queuedBytes) == 24);
static_assert(offsetof(SdkAPIExtWebSocket, address) == 32);
static_assert(offsetof(SdkAPIExtWebSocket, token) == 96);

static_assert(sizeof(SdkAPIExtWebSocketSlots) == 24);
static_assert(offsetof(SdkAPIExtWebSocketSlots, message) == 8);
static_assert(offsetof(SdkAPIExtWebSocketSlots, binary) == 16);

static_assert(sizeof(SdkAPIExtWebSocketLimits) == 24);
static_assert(offsetof(SdkAPIExtWebSocketLimits, mostQueuedFrames) == 4);
static_assert(offsetof(SdkAPIExtWebSocketLimits, mostQueuedBytes) == 8);
static_assert(offsetof(SdkAPIExtWebSocketLimits, mostMessageBytes) == 16);

static_assert(sizeof(SdkAPIExtLimits) == 32);
static_assert(offsetof(SdkAPIExtLimits, mostPreviews) == 4);
static_assert(offsetof(SdkAPIExtLimits, mostWebSockets) == 8);
static_assert(offsetof(SdkAPIExtLimits, mostStreams) == 12);
static_assert(offsetof(SdkAPIExtLimits, mostConnectionsPerAddress) == 16);
static_assert(offsetof(SdkAPIExtLimits, reserved) == 20);
static_assert(offsetof(SdkAPIExtLimits, mostCustomBodyBytes) == 24);

static_assert(sizeof(SdkAPIExtStatistics) == 288);
static_assert(offsetof(SdkAPIExtStatistics, complete) == 4);
static_assert(offsetof(SdkAPIExtStatistics, uptimeSeconds) == 8);
static_assert(offsetof(SdkAPIExtStatistics, workers) == 16);
static_assert(offsetof(SdkAPIExtStatistics, busyWorkers) == 24);
static_assert(offsetof(SdkAPIExtStatistics, connections) == 32);
static_assert(offsetof(SdkAPIExtStatistics, idleConnections) == 40);
static_assert(offsetof(SdkAPIExtStatistics, previews) == 48);
static_assert(offsetof(SdkAPIExtStatistics, webSockets) == 56);
static_assert(offsetof(SdkAPIExtStatistics, logins) == 64);
static_assert(offsetof(SdkAPIExtStatistics, acceptedConnections) == 72);
static_assert(offsetof(SdkAPIExtStatistics, requests) == 80);
static_assert(offsetof(SdkAPIExtStatistics, bytesIn) == 128);
static_assert(offsetof(SdkAPIExtStatistics, bytesOut) == 136);
static_assert(offsetof(SdkAPIExtStatistics, uploads) == 144);
static_assert(offsetof(SdkAPIExtStatistics, failedUploads) == 152);
static_assert(offsetof(SdkAPIExtStatistics, downloads) == 160);
static_assert(offsetof(SdkAPIExtStatistics, failedDownloads) == 168);
static_assert(offsetof(SdkAPIExtStatistics, grantedLogins) == 176);
static_assert(offsetof(SdkAPIExtStatistics, deniedLogins) == 184);
static_assert(offsetof(SdkAPIExtStatistics, droppedFrames) == 192);
static_assert(offsetof(SdkAPIExtStatistics, overrunWebSockets) == 200);
static_assert(offsetof(SdkAPIExtStatistics, refusedConnections) == 208);
static_assert(offsetof(SdkAPIExtStatistics, refusedPreviews) == 216);
static_assert(offsetof(SdkAPIExtStatistics, refusedWebSockets) == 224);
static_assert(offsetof(SdkAPIExtStatistics, refusedStreams) == 232);
static_assert(offsetof(SdkAPIExtStatistics, refusedForWorkers) == 240);
static_assert(offsetof(SdkAPIExtStatistics, refusedBodies) == 248);
static_assert(offsetof(SdkAPIExtStatistics, refusedUploads) == 256);
static_assert(offsetof(SdkAPIExtStatistics, refusedLogins) == 264);
static_assert(offsetof(SdkAPIExtStatistics, refusedMessages) == 272);
static_assert(offsetof(SdkAPIExtStatistics, displacedConnections) == 280);
