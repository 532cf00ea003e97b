/* Made from docs/api/asyncapi.yaml by make_types.mjs. */
export type paths = Record<string, never>;
export type webhooks = Record<string, never>;
export interface components {
    schemas: {
        Presets: {
            name: components["schemas"]["UnitName"];
            /** @description What each receiver shows; empty for nothing. */
            routes: {
                [key: string]: string;
            };
        }[];
        Unit: {
            name: components["schemas"]["UnitName"];
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
        Status: {
            /** @constant */
            type: "status";
            /** @description Seconds. */
            uptime: number;
            /** @description Degrees Celsius. */
            temperature: number;
            /** @description Open connections. */
            clients: number;
            /** @description Units that are online. */
            online: number;
        };
        Upgrade: {
            /** @constant */
            type: "upgrade";
            /** @enum {unknown} */
            phase: "receiving" | "verifying" | "rebooting" | "done" | "failed";
            percent: number;
            /** @description The version that comes, or has come. */
            version: string;
            /** @description Why it failed; only then. */
            reason?: string;
        };
        /** @description Any JSON value. */
        Id: unknown;
        UnitName: string;
        deviceHello: {
            /** @constant */
            type: "hello";
            model: string;
            version: string;
            units: components["schemas"]["Unit"][];
            presets: components["schemas"]["Presets"];
            status: components["schemas"]["Status"];
            /** @description The upgrade that is going on. */
            upgrade: null | components["schemas"]["Upgrade"];
        };
        deviceStatus: components["schemas"]["Status"];
        deviceUnit: {
            /** @constant */
            type: "unit";
            unit: components["schemas"]["Unit"];
            was?: string;
        };
        deviceUnits: {
            /** @constant */
            type: "units";
            units: components["schemas"]["Unit"][];
        };
        deviceUpload: {
            /** @constant */
            type: "upload";
            route: string;
            file: string;
            /** @description Received so far. */
            bytes: number;
            done: boolean;
            /** @description Says something only when `done`. */
            ok: boolean;
            /** @description Why it was refused; only then. */
            reason?: string;
        };
        deviceUpgrade: components["schemas"]["Upgrade"];
        deviceLog: {
            /** @constant */
            type: "log";
            /** @description 4: error. */
            level: number;
            text: string;
        };
        devicePreset: {
            /** @constant */
            type: "preset";
            name: components["schemas"]["UnitName"];
            /** @enum {unknown} */
            action: "stored" | "recalled" | "renamed" | "deleted";
            /** @description The old name of one that was renamed. */
            was?: components["schemas"]["UnitName"];
            /** @description Of one that was recalled: the receivers that would show something else if they were not locked. */
            locked?: components["schemas"]["UnitName"][];
        };
        devicePresets: {
            /** @constant */
            type: "presets";
            id: components["schemas"]["Id"];
            presets: components["schemas"]["Presets"];
        };
        deviceRestored: {
            /** @constant */
            type: "restored";
        };
        deviceAudit: {
            /** @constant */
            type: "audit";
            /** @description The number of the newest act. */
            newest: number;
        };
        devicePong: {
            /** @constant */
            type: "pong";
            id: components["schemas"]["Id"];
        };
        deviceOk: {
            /** @constant */
            type: "ok";
            id: components["schemas"]["Id"];
        };
        deviceError: {
            /** @constant */
            type: "error";
            id: components["schemas"]["Id"];
            text: string;
        };
        clientPing: {
            /** @constant */
            type: "ping";
            id?: components["schemas"]["Id"];
        };
        clientSetUnitName: {
            /** @constant */
            type: "set-unit-name";
            id?: components["schemas"]["Id"];
            /** @description Name of the unit. */
            unit: string;
            name: components["schemas"]["UnitName"];
        };
        clientSetUnitOnline: {
            /** @constant */
            type: "set-unit-online";
            id?: components["schemas"]["Id"];
            /** @description Name of the unit. */
            unit: string;
            online: boolean;
        };
        clientSetUnitInput: {
            /** @constant */
            type: "set-unit-input";
            id?: components["schemas"]["Id"];
            /** @description Name of the unit. */
            unit: string;
            /** @description Name of a transmitter, or empty for none. */
            input: string;
        };
        clientSetUnitEdid: {
            /** @constant */
            type: "set-unit-edid";
            id?: components["schemas"]["Id"];
            /** @description Name of the transmitter. */
            unit: string;
            /** @description One or two blocks as hexadecimal digits, judged as `/upload/edid` judges. */
            edid: string;
        };
        clientSetUnitLocked: {
            /** @constant */
            type: "set-unit-locked";
            id?: components["schemas"]["Id"];
            /** @description Name of the receiver. */
            unit: string;
            locked: boolean;
        };
        clientSetRoutes: {
            /** @constant */
            type: "set-routes";
            id?: components["schemas"]["Id"];
            /** @description For each receiver the name of a transmitter, or empty for none. */
            routes: {
                [key: string]: string;
            };
        };
        clientPresetStore: {
            /** @constant */
            type: "preset-store";
            id?: components["schemas"]["Id"];
            name: components["schemas"]["UnitName"];
        };
        clientPresetList: {
            /** @constant */
            type: "preset-list";
            id?: components["schemas"]["Id"];
        };
        clientPresetRecall: {
            /** @constant */
            type: "preset-recall";
            id?: components["schemas"]["Id"];
            name: components["schemas"]["UnitName"];
        };
        clientPresetRename: {
            /** @constant */
            type: "preset-rename";
            id?: components["schemas"]["Id"];
            name: components["schemas"]["UnitName"];
            to: components["schemas"]["UnitName"];
        };
        clientPresetDelete: {
            /** @constant */
            type: "preset-delete";
            id?: components["schemas"]["Id"];
            name: components["schemas"]["UnitName"];
        };
        clientReboot: {
            /** @constant */
            type: "reboot";
            id?: components["schemas"]["Id"];
        };
    };
    responses: never;
    parameters: never;
    requestBodies: never;
    headers: never;
    pathItems: never;
}
export type $defs = Record<string, never>;
export type operations = Record<string, never>;

/** What the device sends. */
export type DeviceMessage =
  | components["schemas"]["deviceHello"]
  | components["schemas"]["deviceStatus"]
  | components["schemas"]["deviceUnit"]
  | components["schemas"]["deviceUnits"]
  | components["schemas"]["deviceUpload"]
  | components["schemas"]["deviceUpgrade"]
  | components["schemas"]["deviceLog"]
  | components["schemas"]["devicePreset"]
  | components["schemas"]["devicePresets"]
  | components["schemas"]["deviceRestored"]
  | components["schemas"]["deviceAudit"]
  | components["schemas"]["devicePong"]
  | components["schemas"]["deviceOk"]
  | components["schemas"]["deviceError"];

/** What a client sends; the channel adds the `id`. */
export type Command =
  | components["schemas"]["clientPing"]
  | components["schemas"]["clientSetUnitName"]
  | components["schemas"]["clientSetUnitOnline"]
  | components["schemas"]["clientSetUnitInput"]
  | components["schemas"]["clientSetUnitEdid"]
  | components["schemas"]["clientSetUnitLocked"]
  | components["schemas"]["clientSetRoutes"]
  | components["schemas"]["clientPresetStore"]
  | components["schemas"]["clientPresetList"]
  | components["schemas"]["clientPresetRecall"]
  | components["schemas"]["clientPresetRename"]
  | components["schemas"]["clientPresetDelete"]
  | components["schemas"]["clientReboot"];
