/* Made from docs/api/openapi.yaml by make_types.mjs. */
export interface paths {
    "/iplogin": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Is a login needed?
         * @description The answer also sets the authentication switch.
         */
        get: operations["askWhetherLoginIsNeeded"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/api/v1/auth/login": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Log in
         * @description 404 when the device gives no verdict. Only a reply with a token begins a login.
         */
        post: operations["logIn"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/logout": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Log out
         * @description 404 with authentication switched off: there is no login to end.
         */
        post: operations["logOut"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/change/password": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Change the own password
         * @description A failure other than a missing right is answered with nothing: the connection ends without a byte. The login keeps its token.
         */
        post: operations["changePassword"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/change/usrorpasswd": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Change the own name and password
         * @description A failure other than a missing right is answered with nothing: the connection ends without a byte. The login keeps its token.
         */
        post: operations["changeNameOrPassword"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/createuser": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Create a user
         * @description Administrators only, on the simulated device.
         */
        post: operations["createUser"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/deleteuser": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Delete a user
         * @description Administrators only, on the simulated device.
         */
        post: operations["deleteUser"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/dev_info": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /** Device information */
        get: operations["getDeviceInformation"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/getdevicetime": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /** Device information, older spelling */
        get: operations["getDeviceTime"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/custom_restore": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Restore the factory state
         * @description On the simulated device for administrators only; all logins end, certificates stay.
         */
        post: operations["restore"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/getTxRxList": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /** List transmitters and receivers */
        get: operations["listUnits"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/getprivjson": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /** List privilege pictures */
        get: operations["listPrivileges"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/specifypriv": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /** Bind a picture to a host */
        get: operations["bindPrivilege"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/delete_priv": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /** Delete a privilege picture */
        get: operations["deletePrivilege"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/upload/logo": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: Logo
         * @description The simulated device takes PNG, JPEG or BMP by content, at most 8 MiB. In another spelling of upper and lower case the kind of file is unknown (-1), which the simulated device refuses.
         */
        post: operations["uploadLogo"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/upload/bg": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: Background picture
         * @description The simulated device takes PNG, JPEG or BMP by content, at most 8 MiB. In another spelling of upper and lower case the kind of file is unknown (-1), which the simulated device refuses.
         */
        post: operations["uploadBackground"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/upload/sub/bg": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: Background picture, older spelling
         * @description The simulated device takes PNG, JPEG or BMP by content, at most 8 MiB. The whole URI tells the device the kind of file. With anything below it, or in another spelling, the kind is -1, which the simulated device refuses.
         */
        post: operations["uploadSubBackground"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/upload/sub/logo": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: Logo, older spelling
         * @description The simulated device takes PNG, JPEG or BMP by content, at most 8 MiB. The whole URI tells the device the kind of file. With anything below it, or in another spelling, the kind is -1, which the simulated device refuses.
         */
        post: operations["uploadSubLogo"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/upload/sub/png": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: PNG picture
         * @description The simulated device takes PNG, JPEG or BMP by content, at most 8 MiB. The whole URI tells the device the kind of file. With anything below it, or in another spelling, the kind is -1, which the simulated device refuses.
         */
        post: operations["uploadPng"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/upload/sub/setbgimage": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: Background of the settings
         * @description The simulated device takes PNG, JPEG or BMP by content, at most 8 MiB. The whole URI tells the device the kind of file. With anything below it, or in another spelling, the kind is -1, which the simulated device refuses.
         */
        post: operations["uploadBackgroundImage"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/upload/sub/setbaseimage": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: Base picture
         * @description The simulated device takes PNG, JPEG or BMP by content, at most 8 MiB. The whole URI tells the device the kind of file. With anything below it, or in another spelling, the kind is -1, which the simulated device refuses.
         */
        post: operations["uploadBaseImage"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/upload/priv": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: Privilege picture
         * @description The simulated device takes a picture of at most 8 MiB, kept under its file name (letters, digits, `._-` and blanks; others become `_`). In another spelling of upper and lower case the kind of file is unknown (-1), which the simulated device refuses.
         */
        post: operations["uploadPrivilegePicture"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/upload/scene": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: Scene
         * @description The simulated device takes JSON in UTF-8, at most 1 MiB and 32 levels deep. The whole URI tells the device the kind of file. With anything below it, or in another spelling, the kind is -1, which the simulated device refuses.
         */
        post: operations["uploadScene"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/upload/xyte": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: Cloud settings
         * @description The simulated device takes JSON in UTF-8, at most 1 MiB and 32 levels deep. In another spelling of upper and lower case the kind of file is unknown (-1), which the simulated device refuses.
         */
        post: operations["uploadXyte"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/upload/edid": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: EDID
         * @description The simulated device takes an EDID 1.3 or 1.4 of 128 or 256 bytes, with a maker, a preferred timing and correct checksums. In another spelling of upper and lower case the kind of file is unknown (-1), which the simulated device refuses.
         */
        post: operations["uploadEdid"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/upload/security": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: Certificate
         * @description The simulated device takes PEM with a certificate and its key, unencrypted or opened by the device's pass phrase; the key may be missing where the device has it. Used after the next start. The whole URI tells the device the kind of file. With anything below it, or in another spelling, the kind is -1, which the simulated device refuses.
         */
        post: operations["uploadCertificate"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/upload/sub/security": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: Certificate, older spelling
         * @description The simulated device takes PEM with a certificate and its key, unencrypted or opened by the device's pass phrase; the key may be missing where the device has it. Used after the next start. The whole URI tells the device the kind of file. With anything below it, or in another spelling, the kind is -1, which the simulated device refuses.
         */
        post: operations["uploadSubCertificate"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/api/v1/security/https_setting": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: HTTPS certificate
         * @description The simulated device takes PEM with a certificate and its key, unencrypted or opened by the device's pass phrase; the key may be missing where the device has it. Used after the next start. In another spelling of upper and lower case the kind of file is unknown, and failures give 500 instead of 406.
         */
        post: operations["uploadHttpsCertificate"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/api/v1/security/ieee802_1x_setting": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: 802.1X certificate
         * @description The simulated device takes PEM with a certificate and its key, unencrypted or opened by the device's pass phrase. In another spelling of upper and lower case the kind of file is unknown, and failures give 500 instead of 406.
         */
        post: operations["upload8021xCertificate"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/upload/setting": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: Settings archive
         * @description The simulated device takes a zip that the export made, from administrators.
         */
        post: operations["uploadSettings"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/upload/sub/upgrade": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: Settings archive, older spelling
         * @description The simulated device takes a zip that the export made, from administrators. The whole URI tells the device the kind of file. With anything below it the kind is -1, which makes no difference to the simulated device.
         */
        post: operations["uploadSubArchive"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/api/v1/settings/import": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: Settings archive
         * @description The simulated device takes a zip that the export made, from administrators.
         */
        post: operations["importSettings"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/api/v1/fw_upload": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: Firmware
         * @description The simulated device takes a firmware container of at most 512 MiB, from administrators.
         */
        post: operations["uploadFirmware"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/log": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /** Download: Log */
        get: operations["downloadLog"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/api/v1/log": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /** Download: Log */
        get: operations["downloadLogV1"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/download/custom": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Download: Custom file
         * @description A text report of the simulated device's state.
         */
        get: operations["downloadCustom"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/download/scene": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Download: Scene
         * @description 500 as long as none was uploaded.
         */
        get: operations["downloadScene"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/download/edid": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Download: EDID
         * @description 500 as long as none was uploaded.
         */
        get: operations["downloadEdid"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/download/setting": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Download: Settings archive
         * @description 401 only without a login: whatever the device refuses is 404. On the simulated device `full` and `users` are for administrators.
         */
        get: operations["downloadSettings"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/api/v1/settings/export": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Download: Settings archive
         * @description 401 only without a login: whatever the device refuses is 404. On the simulated device `full` and `users` are for administrators.
         */
        get: operations["exportSettings"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/download/logo": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Download: Logo
         * @description Open to every client.
         */
        get: operations["downloadLogo"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/stream": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Watch the device's own picture
         * @description No token is read.
         */
        get: operations["watchDevice"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/preview/{unit}": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Watch a unit
         * @description Without `/` and a name behind `/preview`, or in another spelling of it, it is the device's own picture. Refused units are left to the web server (404).
         */
        get: operations["watchUnit"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/units": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /** List the units */
        get: operations["listSimulatedUnits"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/units/{name}": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * One unit
         * @description Methods other than GET and POST are answered 405, URIs that only begin like `/sim/units` 404, both with an `error`.
         */
        get: operations["getSimulatedUnit"];
        put?: never;
        /**
         * Change a unit
         * @description Viewers get 401.
         */
        post: operations["changeSimulatedUnit"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/presets": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /** List the presets */
        get: operations["listSimulatedPresets"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/presets/{name}": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /** One preset */
        get: operations["getSimulatedPreset"];
        put?: never;
        /**
         * Store, recall, rename or delete a preset
         * @description Viewers get 401. Storing takes what each receiver shows; at most 32 presets. Recalling leaves what is gone or locked as it is. A deleted one is answered with an empty object.
         */
        post: operations["changeSimulatedPreset"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/status": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /** Status */
        get: operations["getSimulatedStatus"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/health": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Health
         * @description Whether the device is well; the worst check is the verdict.
         */
        get: operations["getSimulatedHealth"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/history": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * The last hour
         * @description What the device measured of itself, a point each ten seconds for an hour. A restart begins anew.
         */
        get: operations["getSimulatedHistory"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/audit": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Who did what
         * @description 500 acts that were carried out and 500 that were refused, oldest first; for a newer one the oldest of the user and action goes that are there most often. Administrators and operators see all, viewers their own. A restart begins anew.
         */
        get: operations["listSimulatedActs"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/metrics": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Metrics
         * @description Numbers of the server, the process and the device, as Prometheus reads them.
         */
        get: operations["getSimulatedMetrics"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/me": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Tell who asks, and what that user may do
         * @description Also for users who have still to change their first password.
         */
        get: operations["whoAmI"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/sessions": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * List the logins
         * @description The own ones; administrators see all.
         */
        get: operations["listSessions"];
        put?: never;
        /** End a login */
        post: operations["endSession"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/users": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * List the users
         * @description Administrators only.
         */
        get: operations["listSimulatedUsers"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/users/{name}": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Give a user another role, or a new first password
         * @description Administrators only; one of the two members. The user's logins end. Other methods are answered 405.
         */
        post: operations["changeSimulatedUser"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/certificates": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /** Tell the certificates */
        get: operations["tellCertificates"];
        put?: never;
        /**
         * Make a certificate or a signing request, or take back what waits
         * @description Administrators only. Other methods are answered 405.
         */
        post: operations["changeCertificates"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/files": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /** List the files */
        get: operations["listSimulatedFiles"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/refusals": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Tell why uploads were refused
         * @description Those of the login that asks, the newest first. An upload that succeeds takes the entry of its route away.
         */
        get: operations["listRefusals"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/firmware": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Firmware
         * @description What runs, and what ran before it.
         */
        get: operations["getSimulatedFirmware"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/picture/{kind}": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Download a stored file
         * @description 500 for unknown kinds and files that are not there.
         */
        get: operations["downloadSimulatedFile"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/upload": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        get?: never;
        put?: never;
        /**
         * Upload: a note
         * @description Any file of at most 32 MiB; it replaces the note before it.
         */
        post: operations["uploadNote"];
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
    "/sim/download": {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        /**
         * Download: the note
         * @description 500 as long as there is no note.
         */
        get: operations["downloadNote"];
        put?: never;
        post?: never;
        delete?: never;
        options?: never;
        head?: never;
        patch?: never;
        trace?: never;
    };
}
export type webhooks = Record<string, never>;
export interface components {
    schemas: {
        LoginNeed: {
            /** @enum {unknown} */
            result: "on" | "off";
        };
        Credentials: {
            username: string;
            password: string;
        };
        LoginReply: {
            token: string;
            /** @description 1 as long as the first password has not been changed, on the simulated device. */
            firstlogin: number;
            /** @constant */
            code: 0;
            /** @description Present when the device sets it. */
            wizard?: string;
        } | {
            /** @constant */
            code: 1;
        } | {
            /** @constant */
            code: 2;
            /** @description Seconds. */
            lockTime: number;
        };
        LogOutReply: {
            /** @constant */
            code: "0";
        };
        CodeReply: {
            /** @description On the simulated device 1 wrong old password, 2 weak password, 3 user exists, 4 no such user, 5 last administrator, 6 bad user name, 7 bad role. */
            code: number;
        };
        ChangeUser: {
            username: string;
            newusername?: string;
            oldpassword?: string;
            newpassword?: string;
        };
        ManageUser: {
            username: string;
            password: string;
            /** @description 1 administrator, 2 operator, 3 viewer on the simulated device. */
            role: number;
        };
        DeviceInformation: {
            model?: string;
            security?: string;
            timeout?: string;
            devicetime?: string;
        };
        UnitList: {
            /** @description On the simulated device JSON, the units in an array, without `locked`. */
            list: string;
        };
        PrivilegeList: {
            picnum: number;
            "6000list": {
                serialnum: number;
                picname: string;
                /** @description Empty when there are more than 99. */
                hostname: string[];
            }[];
        };
        Error: {
            error: string;
        };
        ListedUnit: {
            name: string;
            /** @enum {unknown} */
            type: "tx" | "rx";
            online: boolean;
            ip: string;
            mac: string;
            /** @description One or two blocks of 256 hexadecimal digits. */
            edid: string;
            /** @description Of a receiver: the name of a transmitter, or empty. Of a transmitter: empty. */
            input: string;
        };
        Unit: {
            name: string;
            /** @enum {unknown} */
            type: "tx" | "rx";
            online: boolean;
            ip: string;
            mac: string;
            /** @description 256 hexadecimal digits in factory state. */
            edid: string;
            /** @description Of a receiver: the name of a transmitter, or empty. Of a transmitter: empty. */
            input: string;
            /** @description Of a receiver, that its input stays until it is unlocked. Of a transmitter false. */
            locked: boolean;
        };
        Units: {
            units: components["schemas"]["Unit"][];
        };
        /** @description Empty once it is deleted. */
        Preset: {
            name?: string;
            /** @description What each receiver shows; empty for nothing. */
            routes?: {
                [key: string]: string;
            };
            /** @description Once it is recalled: the receivers that would show something else if they were not locked. */
            locked?: string[];
        };
        Firmware: {
            /** @description What runs. */
            version: string;
            /** @description The version that ran before it; empty when there was none. */
            before: string;
            /** @description The slot that starts next. */
            slot: number;
            /** @description It has not confirmed itself yet. */
            trial: boolean;
        };
        UnitChange: {
            name?: string;
            online?: boolean;
            input?: string;
            /** @description Of a transmitter, which shows it to its source; judged as `/upload/edid` judges. */
            edid?: string;
            /** @description Of a receiver. While it is locked an `input` is refused, but with `"locked":false`. */
            locked?: boolean;
        };
        Status: {
            model: string;
            version: string;
            uptime: number;
            clients: number;
            online: number;
            temperature: number;
        };
        Health: {
            verdict: components["schemas"]["HealthState"];
            /** @description Seconds. */
            uptime: number;
            checks: {
                /** @enum {unknown} */
                subject: "temperature" | "storage" | "disk" | "certificate" | "load" | "refusals" | "restart";
                state: components["schemas"]["HealthState"];
                value: number;
                /** @description From here on somebody should look. */
                limit: number;
                unit: string;
            }[];
        };
        /** @enum {unknown} */
        HealthState: "good" | "warning" | "critical";
        History: {
            /** @description Seconds between two points. */
            step: number;
            /** @description Points that are kept. */
            most: number;
            /** @description The number of the newest point. */
            newest: number;
            /** @description When the oldest point began to measure, as the column of the time. */
            begins: number;
            /** @description Of each column but the time; rates are over the real distance of two points. */
            units: {
                temperature: string;
                clients: string;
                connections: string;
                requests: string;
                received: string;
                sent: string;
                refused: string;
                failed: string;
            };
            columns: {
                /** @description Seconds since 1970, UTC. */
                time: components["schemas"]["Column"];
                temperature: components["schemas"]["Column"];
                clients: components["schemas"]["Column"];
                connections: components["schemas"]["Column"];
                requests: components["schemas"]["Column"];
                received: components["schemas"]["Column"];
                sent: components["schemas"]["Column"];
                refused: components["schemas"]["Column"];
                failed: components["schemas"]["Column"];
            };
        };
        Column: number[];
        Acts: {
            /** @description When the list begins in milliseconds since 1970, UTC. */
            begins: number;
            /** @description The number of the newest act of all users. */
            newest: number;
            acts: {
                number: number;
                /** @description Milliseconds since 1970, UTC. */
                time: number;
                /** @description False when it was refused or failed. */
                done: boolean;
                /** @description The part of the device. */
                subject: string;
                /** @description What was done, such as `log-in`. */
                action: string;
                /** @description Empty for nobody and for the device itself. */
                user: string;
                /** @description Empty for the device itself. */
                address: string;
                /** @description What it was done to. */
                object: string;
                /** @description What belongs to it. */
                target: string;
                /** @description Why it was refused. */
                reason: string;
            }[];
        };
        Me: {
            name: string;
            role: number;
            rolename: string;
            firstlogin: number;
            mayWrite: boolean;
            mayAdminister: boolean;
        };
        Refusals: {
            refusals: {
                /** @description What was asked for, as sent. */
                route: string;
                reason: string;
                /** @description Seconds. */
                age: number;
            }[];
        };
        Sessions: {
            sessions: {
                id: number;
                name: string;
                role: number;
                address: string;
                age: number;
                idle: number;
                webSockets: number;
                own: boolean;
            }[];
        };
        /** @description One of the two. */
        SimulatedUserChange: {
            role?: number;
            /** @description A new first password, which the user has to change. */
            password?: string;
        };
        CertificateAction: {
            /** @enum {unknown} */
            action: "make" | "request" | "discard";
            /** @description 1 to 64 characters. */
            commonName?: string;
            /** @description Host names and addresses. */
            names?: string[];
            days?: number;
        };
        Certificates: {
            inUse: components["schemas"]["Certificate"];
            waiting: components["schemas"]["Certificate"];
            ieee8021x: components["schemas"]["Certificate"];
            /**
             * @description What the last start did.
             * @enum {unknown}
             */
            choice: "kept" | "new" | "previous" | "made" | "none";
            /** @description What could not be used at the last start. */
            why: string;
        };
        Certificate: null | {
            subject: string;
            issuer: string;
            names: string[];
            /** @description Seconds since 1970. */
            notBefore: number;
            /** @description Seconds since 1970. */
            notAfter: number;
            /**
             * @description soon: 30 days at most are left.
             * @enum {unknown}
             */
            state: "early" | "valid" | "soon" | "expired";
            /** @description SHA-256. */
            fingerprint: string;
            key: string;
            keyBits: number;
            selfSigned: boolean;
            /** @description Certificates behind it. */
            chain: number;
            /** @description Of 802.1X, when one was given. */
            port?: number;
        };
        SimulatedUsers: {
            users: {
                name: string;
                role: number;
                firstlogin: number;
            }[];
        };
        Files: {
            files: {
                /** @enum {unknown} */
                kind: "logo" | "bg" | "setbgimage" | "setbaseimage" | "png" | "scene" | "edid" | "xyte";
                /** @description Bytes. */
                size: number;
                /** @description Seconds since 1970. */
                mtime: number;
            }[];
        };
        UserName: {
            username: string;
        };
    };
    responses: {
        /** @description No login has this token, or the user lacks the right. The body is empty. */
        Unauthorised: {
            headers: {
                [name: string]: unknown;
            };
            content?: never;
        };
        /** @description No login has this token (the body is empty), or the user lacks the right. */
        OwnUnauthorised: {
            headers: {
                [name: string]: unknown;
            };
            content: {
                /**
                 * @example {
                 *       "error": "not authorised"
                 *     }
                 */
                "application/json": components["schemas"]["Error"];
            };
        };
        /** @description The device failed or refused. The body is empty. */
        Failed: {
            headers: {
                [name: string]: unknown;
            };
            content?: never;
        };
        /** @description The device failed or refused; writing privileges says 503 where other routes say 500. The body is empty. */
        Unavailable: {
            headers: {
                [name: string]: unknown;
            };
            content?: never;
        };
        /** @description The file is not what the route takes. */
        InvalidFile: {
            headers: {
                [name: string]: unknown;
            };
            content: {
                /**
                 * @example {
                 *       "result": "Invalid File"
                 *     }
                 */
                "application/json": {
                    /** @constant */
                    result: "Invalid File";
                };
            };
        };
        /** @description The device left the request to the web server (`text/plain; charset=utf-8`, two lines). */
        WebServer404: {
            headers: {
                [name: string]: unknown;
            };
            content: {
                /**
                 * @example Error 404: Not Found
                 *     Not found
                 */
                "text/plain": string;
            };
        };
        /** @description The body is no such object, or a value is refused. */
        BadBody: {
            headers: {
                [name: string]: unknown;
            };
            content: {
                /**
                 * @example {
                 *       "error": "bad body"
                 *     }
                 */
                "application/json": components["schemas"]["Error"];
            };
        };
        /** @description The answer. */
        Certificates: {
            headers: {
                [name: string]: unknown;
            };
            content: {
                /**
                 * @example {
                 *       "inUse": {
                 *         "subject": "CN=SIM-8X8",
                 *         "issuer": "CN=SIM-8X8",
                 *         "names": [
                 *           "localhost",
                 *           "127.0.0.1"
                 *         ],
                 *         "notBefore": 0,
                 *         "notAfter": 2080000000,
                 *         "state": "valid",
                 *         "fingerprint": "4B:1D:0A:5C:77:9E:F0:21:36:88:AB:CD:EF:01:23:45:67:89:AB:CD:EF:01:23:45:67:89:AB:CD:EF:01:23:45",
                 *         "key": "RSA",
                 *         "keyBits": 2048,
                 *         "selfSigned": true,
                 *         "chain": 0
                 *       },
                 *       "waiting": null,
                 *       "ieee8021x": null,
                 *       "choice": "kept",
                 *       "why": ""
                 *     }
                 */
                "application/json": components["schemas"]["Certificates"];
            };
        };
        /** @description Another method than the described one. */
        MethodNotAllowed: {
            headers: {
                [name: string]: unknown;
            };
            content: {
                /**
                 * @example {
                 *       "error": "method not allowed"
                 *     }
                 */
                "application/json": components["schemas"]["Error"];
            };
        };
        /** @description The file, in chunks. */
        Download: {
            headers: {
                /**
                 * @description The file name, as the device gives it.
                 * @example attachment;filename="device.log"
                 */
                "Content-Disposition"?: string;
                /** @description The length is not announced. */
                "Transfer-Encoding"?: "chunked";
                [name: string]: unknown;
            };
            content: {
                "application/octet-stream": string;
            };
        };
        /** @description Stored. The body is empty. */
        Stored: {
            headers: {
                [name: string]: unknown;
            };
            content?: never;
        };
        /** @description 0 done; other numbers are the device's. */
        Code: {
            headers: {
                [name: string]: unknown;
            };
            content: {
                /**
                 * @example {
                 *       "code": 0
                 *     }
                 */
                "application/json": components["schemas"]["CodeReply"];
            };
        };
        /** @description 0 done; other numbers are the device's. Printed with line breaks and tabs. */
        FormattedCode: {
            headers: {
                [name: string]: unknown;
            };
            content: {
                /**
                 * @example {
                 *       "code": 0
                 *     }
                 */
                "application/json": components["schemas"]["CodeReply"];
            };
        };
        /** @description The members that the device sets; `timeout` is a number of seconds as a text. */
        DeviceInformation: {
            headers: {
                [name: string]: unknown;
            };
            content: {
                /**
                 * @example {
                 *       "model": "SIM-8X8",
                 *       "security": "tls1.2",
                 *       "timeout": "43200",
                 *       "devicetime": "2026-01-01 12:00:00"
                 *     }
                 */
                "application/json": components["schemas"]["DeviceInformation"];
            };
        };
        /** @description Pictures without end, each a part of `Content-Type: image/jpeg` with its `Content-Length`. The boundary parameter is "--w00t"; a part begins with exactly these six characters. The connection ends with the stream. */
        Pictures: {
            headers: {
                [name: string]: unknown;
            };
            content: {
                "multipart/x-mixed-replace": string;
            };
        };
        /** @description The unit. */
        SimulatedUnit: {
            headers: {
                [name: string]: unknown;
            };
            content: {
                /**
                 * @example {
                 *       "name": "TX01",
                 *       "type": "tx",
                 *       "online": true,
                 *       "ip": "192.0.2.11",
                 *       "mac": "02:00:00:00:00:0b",
                 *       "edid": "00ffffffffffff004d2d01000b0000000022010300000000000000000000000000000000000000000000000000000000000000000000023a801871382d40582c450000000000001e0000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000089",
                 *       "input": "",
                 *       "locked": false
                 *     }
                 */
                "application/json": components["schemas"]["Unit"];
            };
        };
        /** @description There is no such preset. */
        NoSuchPreset: {
            headers: {
                [name: string]: unknown;
            };
            content: {
                /**
                 * @example {
                 *       "error": "no such preset"
                 *     }
                 */
                "application/json": components["schemas"]["Error"];
            };
        };
        /** @description The preset. */
        SimulatedPreset: {
            headers: {
                [name: string]: unknown;
            };
            content: {
                /**
                 * @example {
                 *       "name": "Evening",
                 *       "routes": {
                 *         "RX01": "TX02"
                 *       }
                 *     }
                 */
                "application/json": components["schemas"]["Preset"];
            };
        };
        /** @description No such unit. */
        NoSuchUnit: {
            headers: {
                [name: string]: unknown;
            };
            content: {
                /**
                 * @example {
                 *       "error": "no such unit"
                 *     }
                 */
                "application/json": components["schemas"]["Error"];
            };
        };
    };
    parameters: never;
    requestBodies: {
        /** @description A form with `Content-Type: multipart/form-data; boundary=...`. The field may have any name; names and file names are handed on with at most 127 bytes, the content in pieces of at most 32768 bytes. Fields without a file name reach the device too. Anything else than a whole, well-formed form fails: 406 where the route has it, else 500. A form without fields reaches the device as the end of an upload. */
        File: {
            content: {
                "multipart/form-data": {
                    /** @description The file; its part needs a `filename`. */
                    file: string;
                };
            };
        };
    };
    headers: never;
    pathItems: never;
}
export type $defs = Record<string, never>;
export interface operations {
    askWhetherLoginIsNeeded: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description "off" when requests need no token. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "result": "on"
                     *     }
                     */
                    "application/json": components["schemas"]["LoginNeed"];
                };
            };
        };
    };
    logIn: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: {
            content: {
                /**
                 * @example {
                 *       "username": "admin",
                 *       "password": "admin"
                 *     }
                 */
                "application/json": components["schemas"]["Credentials"];
            };
        };
        responses: {
            /** @description `code` decides: 0 with a token, 1 refused, 2 locked for `lockTime` seconds. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    "application/json": components["schemas"]["LoginReply"];
                };
            };
            404: components["responses"]["WebServer404"];
            /** @description Twenty sessions are open, or memory is short. The body is empty. */
            500: {
                headers: {
                    [name: string]: unknown;
                };
                content?: never;
            };
        };
    };
    logOut: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description The login has ended; `code` is a text here. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "code": "0"
                     *     }
                     */
                    "application/json": components["schemas"]["LogOutReply"];
                };
            };
            401: components["responses"]["Unauthorised"];
            404: components["responses"]["WebServer404"];
        };
    };
    changePassword: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: {
            content: {
                /**
                 * @example {
                 *       "username": "admin",
                 *       "oldpassword": "admin",
                 *       "newpassword": "Correct-Horse-7"
                 *     }
                 */
                "application/json": components["schemas"]["ChangeUser"];
            };
        };
        responses: {
            200: components["responses"]["FormattedCode"];
            401: components["responses"]["Unauthorised"];
        };
    };
    changeNameOrPassword: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: {
            content: {
                /**
                 * @example {
                 *       "username": "admin",
                 *       "newusername": "chief",
                 *       "oldpassword": "admin",
                 *       "newpassword": "Correct-Horse-7"
                 *     }
                 */
                "application/json": components["schemas"]["ChangeUser"];
            };
        };
        responses: {
            200: components["responses"]["FormattedCode"];
            401: components["responses"]["Unauthorised"];
        };
    };
    createUser: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: {
            content: {
                /**
                 * @example {
                 *       "username": "olga",
                 *       "password": "Correct-Horse-7",
                 *       "role": 2
                 *     }
                 */
                "application/json": components["schemas"]["ManageUser"];
            };
        };
        responses: {
            200: components["responses"]["Code"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    deleteUser: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: {
            content: {
                /**
                 * @example {
                 *       "username": "olga"
                 *     }
                 */
                "application/json": components["schemas"]["UserName"];
            };
        };
        responses: {
            200: components["responses"]["Code"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    getDeviceInformation: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["DeviceInformation"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    getDeviceTime: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["DeviceInformation"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    restore: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description Restored. The body is empty. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content?: never;
            };
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    listUnits: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description `list` is a text of the device's own format; the simulated device's holds JSON. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "list": "[{\"name\":\"TX01\",\"type\":\"tx\",\"online\":true,\"ip\":\"192.0.2.11\",\"mac\":\"02:00:00:00:00:0b\",\"edid\":\"\",\"input\":\"\"}]"
                     *     }
                     */
                    "application/json": components["schemas"]["UnitList"];
                };
            };
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    listPrivileges: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description Pictures and the hosts that they are bound to. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "picnum": 1,
                     *       "6000list": [
                     *         {
                     *           "serialnum": 1,
                     *           "picname": "a.png",
                     *           "hostname": [
                     *             "RX01"
                     *           ]
                     *         }
                     *       ]
                     *     }
                     */
                    "application/json": components["schemas"]["PrivilegeList"];
                };
            };
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    bindPrivilege: {
        parameters: {
            query: {
                /**
                 * @description Host. Longer names are cut.
                 * @example RX01
                 */
                hostname: string;
                /**
                 * @description Picture. Longer names are cut.
                 * @example a.png
                 */
                file: string;
            };
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description Bound. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content?: never;
            };
            401: components["responses"]["Unauthorised"];
            503: components["responses"]["Unavailable"];
        };
    };
    deletePrivilege: {
        parameters: {
            query: {
                /**
                 * @description Picture. Longer names are cut.
                 * @example a.png
                 */
                file: string;
            };
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description Deleted. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content?: never;
            };
            401: components["responses"]["Unauthorised"];
            503: components["responses"]["Unavailable"];
        };
    };
    uploadLogo: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    uploadBackground: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    uploadSubBackground: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    uploadSubLogo: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    uploadPng: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    uploadBackgroundImage: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    uploadBaseImage: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    uploadPrivilegePicture: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    uploadScene: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    uploadXyte: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    uploadEdid: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    uploadCertificate: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    uploadSubCertificate: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    uploadHttpsCertificate: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            406: components["responses"]["InvalidFile"];
            500: components["responses"]["Failed"];
        };
    };
    upload8021xCertificate: {
        parameters: {
            query?: never;
            header?: {
                /**
                 * @description 802.1X port, handed to the device; longer texts are cut.
                 * @example 1
                 */
                Port?: string;
            };
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            406: components["responses"]["InvalidFile"];
            500: components["responses"]["Failed"];
        };
    };
    uploadSettings: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    uploadSubArchive: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    importSettings: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    uploadFirmware: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            406: components["responses"]["InvalidFile"];
            500: components["responses"]["Failed"];
        };
    };
    downloadLog: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["Download"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    downloadLogV1: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["Download"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    downloadCustom: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["Download"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    downloadScene: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["Download"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    downloadEdid: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["Download"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    downloadSettings: {
        parameters: {
            query?: {
                /**
                 * @description What to export; on the simulated device `full` (also without one), `users` or `units`. Longer values are cut.
                 * @example units
                 */
                method?: string;
            };
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["Download"];
            401: components["responses"]["Unauthorised"];
            404: components["responses"]["WebServer404"];
        };
    };
    exportSettings: {
        parameters: {
            query?: {
                /**
                 * @description What to export; on the simulated device `full` (also without one), `users` or `units`. Longer values are cut.
                 * @example units
                 */
                method?: string;
            };
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["Download"];
            401: components["responses"]["Unauthorised"];
            404: components["responses"]["WebServer404"];
        };
    };
    downloadLogo: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["Download"];
            404: components["responses"]["WebServer404"];
        };
    };
    watchDevice: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["Pictures"];
            404: components["responses"]["WebServer404"];
        };
    };
    watchUnit: {
        parameters: {
            query?: never;
            header?: never;
            path: {
                /**
                 * @description Unit; longer names are cut to 31 characters.
                 * @example TX01
                 */
                unit: string;
            };
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["Pictures"];
            404: components["responses"]["WebServer404"];
        };
    };
    listSimulatedUnits: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description All units. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "units": [
                     *         {
                     *           "name": "TX01",
                     *           "type": "tx",
                     *           "online": true,
                     *           "ip": "192.0.2.11",
                     *           "mac": "02:00:00:00:00:0b",
                     *           "edid": "",
                     *           "input": "",
                     *           "locked": false
                     *         }
                     *       ]
                     *     }
                     */
                    "application/json": components["schemas"]["Units"];
                };
            };
            401: components["responses"]["OwnUnauthorised"];
            405: components["responses"]["MethodNotAllowed"];
        };
    };
    getSimulatedUnit: {
        parameters: {
            query?: never;
            header?: never;
            path: {
                /**
                 * @description Name of a unit.
                 * @example TX01
                 */
                name: string;
            };
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["SimulatedUnit"];
            401: components["responses"]["OwnUnauthorised"];
            404: components["responses"]["NoSuchUnit"];
        };
    };
    changeSimulatedUnit: {
        parameters: {
            query?: never;
            header?: never;
            path: {
                /**
                 * @description Name of a unit.
                 * @example TX01
                 */
                name: string;
            };
            cookie?: never;
        };
        requestBody: {
            content: {
                /**
                 * @example {
                 *       "online": true
                 *     }
                 */
                "application/json": components["schemas"]["UnitChange"];
            };
        };
        responses: {
            200: components["responses"]["SimulatedUnit"];
            /** @description The body is no such object, or a value is refused. */
            400: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "error": "bad body"
                     *     }
                     */
                    "application/json": components["schemas"]["Error"];
                };
            };
            401: components["responses"]["OwnUnauthorised"];
            404: components["responses"]["NoSuchUnit"];
        };
    };
    listSimulatedPresets: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description All presets. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "presets": [
                     *         {
                     *           "name": "Evening",
                     *           "routes": {
                     *             "RX01": "TX02"
                     *           }
                     *         }
                     *       ]
                     *     }
                     */
                    "application/json": {
                        presets: components["schemas"]["Preset"][];
                    };
                };
            };
            401: components["responses"]["OwnUnauthorised"];
            405: components["responses"]["MethodNotAllowed"];
        };
    };
    getSimulatedPreset: {
        parameters: {
            query?: never;
            header?: never;
            path: {
                /**
                 * @description Name of a preset.
                 * @example Evening
                 */
                name: string;
            };
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["SimulatedPreset"];
            401: components["responses"]["OwnUnauthorised"];
            404: components["responses"]["NoSuchPreset"];
        };
    };
    changeSimulatedPreset: {
        parameters: {
            query?: never;
            header?: never;
            path: {
                /**
                 * @description Name of a preset; as units are named.
                 * @example Evening
                 */
                name: string;
            };
            cookie?: never;
        };
        requestBody: {
            content: {
                /**
                 * @example {
                 *       "action": "store"
                 *     }
                 */
                "application/json": {
                    /** @enum {unknown} */
                    action: "store" | "recall" | "rename" | "delete";
                    /** @description With `rename`, the new name. */
                    to?: string;
                };
            };
        };
        responses: {
            200: components["responses"]["SimulatedPreset"];
            /** @description The body is no such object, or the name is refused. */
            400: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "error": "bad body"
                     *     }
                     */
                    "application/json": components["schemas"]["Error"];
                };
            };
            401: components["responses"]["OwnUnauthorised"];
            404: components["responses"]["NoSuchPreset"];
        };
    };
    getSimulatedStatus: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description The answer. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "model": "SIM-8X8",
                     *       "version": "1.0.0",
                     *       "uptime": 60,
                     *       "clients": 1,
                     *       "online": 8,
                     *       "temperature": 41.5
                     *     }
                     */
                    "application/json": components["schemas"]["Status"];
                };
            };
            401: components["responses"]["OwnUnauthorised"];
            405: components["responses"]["MethodNotAllowed"];
        };
    };
    getSimulatedHealth: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description The answer. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "verdict": "good",
                     *       "uptime": 60,
                     *       "checks": [
                     *         {
                     *           "subject": "temperature",
                     *           "state": "good",
                     *           "value": 41.5,
                     *           "limit": 60,
                     *           "unit": "°C"
                     *         }
                     *       ]
                     *     }
                     */
                    "application/json": components["schemas"]["Health"];
                };
            };
            401: components["responses"]["OwnUnauthorised"];
            405: components["responses"]["MethodNotAllowed"];
        };
    };
    getSimulatedHistory: {
        parameters: {
            query?: {
                /**
                 * @description The number of the newest point that the client has; only newer ones are told.
                 * @example 0
                 */
                since?: string;
            };
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description The answer. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "step": 10,
                     *       "most": 360,
                     *       "newest": 1,
                     *       "begins": 1795340586.5,
                     *       "units": {
                     *         "temperature": "°C",
                     *         "clients": "clients",
                     *         "connections": "connections",
                     *         "requests": "requests/s",
                     *         "received": "bytes/s",
                     *         "sent": "bytes/s",
                     *         "refused": "requests/s",
                     *         "failed": "requests/s"
                     *       },
                     *       "columns": {
                     *         "time": [
                     *           1795340596.5
                     *         ],
                     *         "temperature": [
                     *           41.5
                     *         ],
                     *         "clients": [
                     *           1
                     *         ],
                     *         "connections": [
                     *           3
                     *         ],
                     *         "requests": [
                     *           2.5
                     *         ],
                     *         "received": [
                     *           810.2
                     *         ],
                     *         "sent": [
                     *           4020
                     *         ],
                     *         "refused": [
                     *           0
                     *         ],
                     *         "failed": [
                     *           0
                     *         ]
                     *       }
                     *     }
                     */
                    "application/json": components["schemas"]["History"];
                };
            };
            /** @description It is no number. */
            400: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "error": "bad number"
                     *     }
                     */
                    "application/json": components["schemas"]["Error"];
                };
            };
            401: components["responses"]["OwnUnauthorised"];
            405: components["responses"]["MethodNotAllowed"];
        };
    };
    listSimulatedActs: {
        parameters: {
            query?: {
                /**
                 * @description The number of the newest act that the client has; only newer ones are told.
                 * @example 0
                 */
                since?: string;
            };
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description The answer. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "begins": 1795340590123,
                     *       "newest": 2,
                     *       "acts": [
                     *         {
                     *           "number": 2,
                     *           "time": 1795340596404,
                     *           "done": true,
                     *           "subject": "device",
                     *           "action": "set-unit-input",
                     *           "user": "olga",
                     *           "address": "192.0.2.7",
                     *           "object": "RX01",
                     *           "target": "TX02",
                     *           "reason": ""
                     *         }
                     *       ]
                     *     }
                     */
                    "application/json": components["schemas"]["Acts"];
                };
            };
            /** @description It is no number. */
            400: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "error": "bad number"
                     *     }
                     */
                    "application/json": components["schemas"]["Error"];
                };
            };
            401: components["responses"]["OwnUnauthorised"];
            405: components["responses"]["MethodNotAllowed"];
        };
    };
    getSimulatedMetrics: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description The numbers. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example # HELP device_temperature_celsius How warm the device is.
                     *     # TYPE device_temperature_celsius gauge
                     *     device_temperature_celsius 41.5
                     */
                    "text/plain": string;
                };
            };
            401: components["responses"]["Unauthorised"];
            405: components["responses"]["MethodNotAllowed"];
        };
    };
    whoAmI: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description The answer. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "name": "admin",
                     *       "role": 1,
                     *       "rolename": "administrator",
                     *       "firstlogin": 0,
                     *       "mayWrite": true,
                     *       "mayAdminister": true
                     *     }
                     */
                    "application/json": components["schemas"]["Me"];
                };
            };
            401: components["responses"]["OwnUnauthorised"];
            405: components["responses"]["MethodNotAllowed"];
        };
    };
    listSessions: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description The answer. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "sessions": [
                     *         {
                     *           "id": 1,
                     *           "name": "admin",
                     *           "role": 1,
                     *           "address": "192.0.2.7",
                     *           "age": 20,
                     *           "idle": 3,
                     *           "webSockets": 1,
                     *           "own": true
                     *         }
                     *       ]
                     *     }
                     */
                    "application/json": components["schemas"]["Sessions"];
                };
            };
            401: components["responses"]["OwnUnauthorised"];
        };
    };
    endSession: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: {
            content: {
                /**
                 * @example {
                 *       "end": 1
                 *     }
                 */
                "application/json": {
                    end: number;
                };
            };
        };
        responses: {
            /** @description The login has ended, its WebSockets are closing. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /** @example {} */
                    "application/json": Record<string, never>;
                };
            };
            /** @description The body is no such object. */
            400: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "error": "bad body"
                     *     }
                     */
                    "application/json": components["schemas"]["Error"];
                };
            };
            401: components["responses"]["OwnUnauthorised"];
            /** @description There is no such login, or it is not for this user to end. */
            404: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "error": "no such session"
                     *     }
                     */
                    "application/json": components["schemas"]["Error"];
                };
            };
        };
    };
    listSimulatedUsers: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description The answer. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "users": [
                     *         {
                     *           "name": "admin",
                     *           "role": 1,
                     *           "firstlogin": 1
                     *         }
                     *       ]
                     *     }
                     */
                    "application/json": components["schemas"]["SimulatedUsers"];
                };
            };
            401: components["responses"]["OwnUnauthorised"];
            405: components["responses"]["MethodNotAllowed"];
        };
    };
    changeSimulatedUser: {
        parameters: {
            query?: never;
            header?: never;
            path: {
                /**
                 * @description Name of the user.
                 * @example admin
                 */
                name: string;
            };
            cookie?: never;
        };
        requestBody: {
            content: {
                /**
                 * @example {
                 *       "role": 2
                 *     }
                 */
                "application/json": components["schemas"]["SimulatedUserChange"];
            };
        };
        responses: {
            /** @description The answer. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "code": 0
                     *     }
                     */
                    "application/json": components["schemas"]["CodeReply"];
                };
            };
            400: components["responses"]["BadBody"];
            401: components["responses"]["OwnUnauthorised"];
        };
    };
    tellCertificates: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["Certificates"];
            401: components["responses"]["OwnUnauthorised"];
        };
    };
    changeCertificates: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: {
            content: {
                /**
                 * @example {
                 *       "action": "make",
                 *       "commonName": "device",
                 *       "names": [
                 *         "device.example",
                 *         "192.0.2.7"
                 *       ],
                 *       "days": 365
                 *     }
                 */
                "application/json": components["schemas"]["CertificateAction"];
            };
        };
        responses: {
            /** @description The certificates; of `request` the signing request. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    "application/json": components["schemas"]["Certificates"] | {
                        /** @description PEM. */
                        request: string;
                    };
                };
            };
            400: components["responses"]["BadBody"];
            401: components["responses"]["OwnUnauthorised"];
        };
    };
    listSimulatedFiles: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description The answer. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "files": [
                     *         {
                     *           "kind": "logo",
                     *           "size": 1000,
                     *           "mtime": 1767225600
                     *         }
                     *       ]
                     *     }
                     */
                    "application/json": components["schemas"]["Files"];
                };
            };
            401: components["responses"]["Unauthorised"];
            405: components["responses"]["MethodNotAllowed"];
        };
    };
    listRefusals: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description The answer. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "refusals": [
                     *         {
                     *           "route": "/api/v1/security/https_setting",
                     *           "reason": "it has expired",
                     *           "age": 2
                     *         }
                     *       ]
                     *     }
                     */
                    "application/json": components["schemas"]["Refusals"];
                };
            };
            401: components["responses"]["OwnUnauthorised"];
            405: components["responses"]["MethodNotAllowed"];
        };
    };
    getSimulatedFirmware: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            /** @description The firmware. */
            200: {
                headers: {
                    [name: string]: unknown;
                };
                content: {
                    /**
                     * @example {
                     *       "version": "1.1.0",
                     *       "before": "1.0.0",
                     *       "slot": 1,
                     *       "trial": false
                     *     }
                     */
                    "application/json": components["schemas"]["Firmware"];
                };
            };
            401: components["responses"]["OwnUnauthorised"];
            405: components["responses"]["MethodNotAllowed"];
        };
    };
    downloadSimulatedFile: {
        parameters: {
            query?: {
                /**
                 * @description Name of a privilege picture.
                 * @example guest.png
                 */
                file?: string;
            };
            header?: never;
            path: {
                /**
                 * @description Kind of file; `priv` is a privilege picture.
                 * @example logo
                 */
                kind: string;
            };
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["Download"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    uploadNote: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody: components["requestBodies"]["File"];
        responses: {
            200: components["responses"]["Stored"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
    downloadNote: {
        parameters: {
            query?: never;
            header?: never;
            path?: never;
            cookie?: never;
        };
        requestBody?: never;
        responses: {
            200: components["responses"]["Download"];
            401: components["responses"]["Unauthorised"];
            500: components["responses"]["Failed"];
        };
    };
}
