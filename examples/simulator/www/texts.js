/* All words that a person reads, one object for each page. Where values go in, a word is a function. */

/** Words that several pages share. */
export const common = {
  console: 'Device console',
  cancel: 'Cancel',
  actions: 'Actions',
  nobodyWrites: (role) => `Your role, ${role}, may look at this but not change it.`,
  nobodyAdministers: (role) => `Only administrators may do this. Your role is ${role}.`,
};

/** The frame of the console: header, navigation, banner. */
export const shell = {
  title: 'Device',
  menu: 'Menu',
  views: 'Views',
  skip: 'Skip to content',
  api: 'API',
  logOut: 'Log out',
  colours: (theme) => `Colours: ${theme}`,
  themes: { 'light dark': 'automatic', light: 'light', dark: 'dark' },
  links: { connecting: 'Connecting', open: 'Connected', lost: 'Connection lost', none: 'Not connected' },
  unreachable: 'The device cannot be reached. The console tries again by itself.',
  groups: { operate: 'Operate', media: 'Media', system: 'System', access: 'Access' },
};

/** The pages before the console. */
export const login = {
  title: 'Log in',
};

export const matrix = {
  title: 'Matrix',
};

export const overview = {
  title: 'Overview',
};

export const units = {
  title: 'Units',
  intro: 'Three pictures at a time are live; the others are stills that renew themselves.',
};

export const device = {
  title: 'Device',
};

export const log = {
  title: 'Log',
};

export const firmware = {
  title: 'Firmware',
};

export const edid = {
  title: 'EDID',
};

export const pictures = {
  title: 'Pictures',
  intro: 'PNG, JPEG or BMP, at most 8 MiB each.',
};

export const scenes = {
  title: 'Scenes and EDID',
};

export const privileges = {
  title: 'Privileges',
  intro: 'A privilege picture is shown by the units that it is bound to.',
};

export const users = {
  title: 'Users',
};

export const sessions = {
  title: 'Sessions',
};

export const certificates = {
  title: 'Certificates',
  intro: 'A PEM file that holds a certificate and its private key. The key must not have a pass phrase.',
};

export const settings = {
  title: 'Settings',
};

export const custom = {
  title: 'Custom routes',
  intro: 'Routes that the device program registers at run time, next to the built-in ones.',
};
