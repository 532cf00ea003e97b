/* The pages of the console in the order of its navigation. */
import { shell } from './texts.js';
import * as account from './views/account.js';
import * as certificates from './views/certificates.js';
import * as custom from './views/custom.js';
import * as device from './views/device.js';
import * as edid from './views/edid.js';
import * as firmware from './views/firmware.js';
import * as log from './views/log.js';
import * as matrix from './views/matrix.js';
import * as pictures from './views/pictures.js';
import * as privileges from './views/privileges.js';
import * as scenes from './views/scenes.js';
import * as sessions from './views/sessions.js';
import * as settings from './views/settings.js';
import * as units from './views/units.js';
import * as users from './views/users.js';

export const GROUPS = [
  [shell.groups.operate, { matrix, device, units }],
  [shell.groups.media, { pictures, edid, scenes, privileges }],
  [shell.groups.system, { firmware, settings, certificates, log, custom }],
  [shell.groups.access, { users, sessions }],
];

// Reached from elsewhere than the navigation.
const APART = { account };

/** Name of each page to its module: `page` says what it is, `render(ctx)` makes its content. */
export const PAGES = Object.assign({}, ...GROUPS.map(([, pages]) => pages), APART);
