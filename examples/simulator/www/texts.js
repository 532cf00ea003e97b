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
  grid: 'Outputs and their inputs',
  corner: 'Output',
  lock: 'Lock',
  none: 'No input',
  noneShort: 'None',
  input: (receiver) => `Input of ${receiver}`,
  point: (receiver, source) => `${receiver} from ${source || 'no input'}`,
  states: { routed: ', routed', leaving: ', routed until taken', pending: ', pending', would: ', in the preset' },
  lockIt: (receiver) => `Lock ${receiver}`,
  shows: (source) => source || 'No input',
  showsLocked: (source) => `${source || 'No input'}, locked`,
  will: (from, to) => `${from || 'No input'} → ${to || 'No input'}`,
  offline: 'Offline',
  isLocked: (receiver) => `${receiver} is locked. Unlock it first.`,
  routed: (receiver, source) => (source ? `${receiver} shows ${source}.` : `${receiver} has no input.`),
  lockedNow: (receiver, locked) => `${receiver} is ${locked ? 'locked' : 'unlocked'}.`,
  direct: 'A click routes at once.',
  takeMode: 'Collect changes, then take',
  collecting: 'Clicks are collected; nothing changes before you take them.',
  pending: (count) => (count === 1 ? '1 change pending' : `${count} changes pending`),
  take: 'Take',
  drop: 'Drop',
  taken: (count) => (count === 1 ? '1 output changed.' : `${count} outputs changed.`),
  dropped: 'The pending changes are dropped.',
  lostPending: (receiver) => `The pending change of ${receiver} is dropped: it was locked, or a unit is gone.`,
  legend: { routed: 'routed', pending: 'pending', leaving: 'routed until taken', locked: 'locked' },
  noUnits: 'The device has no outputs.',
  toUnits: 'Names, addresses and states of the units',
};

export const presets = {
  title: 'Presets',
  none: 'No preset is stored yet.',
  name: 'Name',
  store: 'Store',
  hint: 'Stores what the outputs show now.',
  badName: 'A name has 1 to 31 letters, digits, dots, dashes or underscores.',
  stored: (name) => `${name} is stored.`,
  replaceTitle: (name) => `Replace ${name}?`,
  replaceText: (name) => `There is a preset ${name}. It will hold what the outputs show now.`,
  replace: 'Replace',
  recallIt: 'Recall',
  recall: (name) => `Recall ${name}`,
  recalled: (name) => `${name} is recalled.`,
  leftLocked: (name, receivers) => `${name} is recalled. Locked and left as they are: ${receivers}.`,
  collected: (name) => `${name} is pending. Take it to change the outputs.`,
  same: 'Shown now',
  changes: (count) => (count === 1 ? '1 output changes' : `${count} outputs change`),
  left: (count) => (count === 1 ? '1 stays' : `${count} stay`),
  change: (from, to) => `${from || 'no input'} → ${to || 'no input'}`,
  stays: (from) => `stays on ${from || 'no input'}`,
  why: { locked: 'locked', gone: (to) => `${to} is gone`, missing: 'is gone', offline: 'offline' },
  moreShort: 'Rename or delete',
  more: (name) => `Rename or delete ${name}`,
  rename: 'Rename',
  newName: 'New name',
  remove: 'Delete',
  removeTitle: (name) => `Delete ${name}?`,
  removeText: 'Its routing is forgotten. What the outputs show stays.',
};

export const overview = {
  title: 'Overview',
};

export const units = {
  title: 'Units',
  intro: 'Three pictures at a time are live; the others are stills that renew themselves.',
  show: 'Show',
  groups: { all: 'All', tx: 'Transmitters', rx: 'Receivers' },
  types: { tx: 'transmitter', rx: 'receiver' },
  online: 'Online',
  onlineOf: (name) => `${name} online`,
  states: { online: 'online', offline: 'offline', locked: 'locked' },
  shows: (source) => (source ? `Shows ${source}` : 'No input'),
  feeds: (count) => (count === 1 ? 'On 1 output' : `On ${count} outputs`),
  toMatrix: 'Route in the matrix',
  details: 'Details',
  address: 'IP',
  mac: 'MAC',
  edid: 'EDID',
  name: 'Name',
  rename: 'Rename',
  renamed: 'Renamed.',
};

export const device = {
  title: 'Device',
};

export const log = {
  title: 'Log',
};

export const firmware = {
  title: 'Firmware',
  intro: 'The device checks a new version before it installs it, restarts, and goes back to the old one when the new one does not work.',
  installed: 'Installed',
  before: 'Before it',
  none: 'none',
  slot: 'Slot',
  state: 'State',
  trial: 'on trial',
  confirmed: 'confirmed',
  upgrade: 'Upgrade',
  upload: 'Choose firmware',
  hint: 'A firmware container made for this device. Nothing is sent before you have seen what it is.',
  property: 'Property',
  inFile: 'In the file',
  running: 'Installed',
  version: 'Version',
  model: 'Model',
  size: 'Size',
  noContainer: 'This is no firmware container.',
  unsigned: 'This container has no signature. The device takes signed ones only.',
  badHead: 'The head of this container cannot be read.',
  cut: (bytes) => `This file is not whole: ${bytes} bytes are missing.`,
  tooLong: (bytes) => `This file has ${bytes} bytes behind its image.`,
  otherModel: (model, own) => `This firmware is made for ${model}. This device is a ${own}.`,
  newer: 'It is newer than what is installed.',
  same: 'It is the version that is installed: this installs it again.',
  older: 'It is older than what is installed. Settings of the newer version may be lost.',
  begin: (version) => `Upgrade to ${version}`,
  downgrade: (version) => `Downgrade to ${version}`,
  downgradeTitle: 'Install an older version?',
  downgradeText: (version, installed) => `Version ${version} is older than ${installed}. Settings that it does not know may be lost.`,
  downgradeYes: 'Downgrade',
  cancel: 'Cancel',
  close: 'Close',
  barTitle: 'Firmware upgrade',
  progress: 'Progress of the upgrade',
  steps: { receiving: 'Sending', verifying: 'Verifying', rebooting: 'Restarting', done: 'Done' },
  phases: {
    receiving: (version) => `Firmware ${version}: sending`,
    verifying: (version) => `Firmware ${version}: verifying`,
    rebooting: (version) => `Firmware ${version}: the device restarts`,
    done: (version) => `Firmware ${version} is installed and runs`,
  },
  sent: (sent, total, rate) => `${sent} of ${total}, ${rate}`,
  failed: (reason, installed) => `The firmware was not installed: ${reason}. The device keeps version ${installed}.`,
  noReason: 'the device does not say why',
  cancelled: (installed) => `Cancelled. The device keeps version ${installed}.`,
  rolledBack: (version) => `Version ${version} did not start. The device runs the version before it again.`,
};

export const edid = {
  title: 'EDID',
};

/** What an EDID says. */
export const edidFacts = {
  identity: 'Display',
  maker: 'Maker',
  noMaker: 'It names no maker',
  product: 'Product code',
  name: 'Name',
  serialNumber: 'Serial number',
  serialText: 'Serial number (text)',
  text: 'Text',
  none: 'none',
  made: 'Made',
  week: (week, year) => `week ${week} of ${year}`,
  modelYear: (year) => `model year ${year}`,
  version: 'EDID version',
  otherVersion: (version) => `It is EDID ${version}, not 1.3 or 1.4`,

  picture: 'Picture',
  input: 'Input',
  analogue: 'analogue',
  digital: (kind, bits) => ['digital', kind, bits && `${bits} bits a colour`].filter(Boolean).join(', '),
  size: 'Size',
  centimetres: (width, height) => `${width} × ${height} cm`,
  ratio: (ratio) => `${ratio} : 1, no size`,
  noSize: 'not said: a projector, or it varies',
  gamma: 'Gamma',
  notHere: 'not said',
  colours: 'Colour formats',
  monochrome: 'monochrome',
  power: 'Power saving',
  powerStates: ['active off', 'suspend', 'standby'],
  features: 'Features',
  srgb: 'sRGB is its colour space',
  native: 'the preferred timing is its own',
  continuous: 'takes any frequency within its limits',
  point: { red: 'Red', green: 'Green', blue: 'Blue', white: 'White' },

  timings: 'Timings',
  preferred: 'Preferred',
  noPreferred: 'It has no preferred timing',
  detailed: 'Detailed',
  established: 'Established',
  standard: 'Standard',
  clock: (megahertz) => `${megahertz} MHz`,
  blanking: (across, down) => `blanking ${across} × ${down}`,
  sync: (across, down) => `sync ${across ? '+' : '−'}/${down ? '+' : '−'}`,
  millimetres: (width, height) => `${width} × ${height} mm`,
  limits: 'Limits',
  vertical: 'Vertical',
  horizontal: 'Horizontal',
  between: (low, high, unit) => `${low} to ${high} ${unit}`,
  mostClock: 'Pixel clock',
  atMost: (value) => `at most ${value}`,
  otherDescriptor: (tag) => `Descriptor ${tag}`,
  descriptors: { 0xfb: 'Colour points', 0xf9: 'Colour management', 0xf8: 'Coded timings', 0xf7: 'Established timings III' },
  present: 'present',

  extension: (number, kind) => `Extension ${number}: ${kind}`,
  extensionKinds: { 0x02: 'CTA-861', 0x10: 'video timing', 0x40: 'display information', 0x50: 'localised strings', 0x70: 'DisplayID', 0xf0: 'block map', 0xff: 'the maker’s own' },
  unknownExtension: (tag) => `unknown (${tag})`,
  notRead: 'not read',
  content: 'Content',
  revision: 'Revision',
  can: 'It can',
  underscan: 'underscan',
  basicAudio: 'basic audio',
  nativeTimings: 'Native detailed timings',
  mode: 'Video format',
  ownMode: ', native',
  unknownMode: (code) => `unknown (VIC ${code})`,
  only420: 'Only in YCbCr 4:2:0',
  also420: 'Also in YCbCr 4:2:0',
  all420: 'all video formats',
  audio: 'Audio',
  channels: (count) => (count === 1 ? '1 channel' : `${count} channels`),
  kilohertz: (rates) => `${rates} kHz`,
  bits: (depths) => `${depths} bits`,
  kilobits: (rate) => `at most ${rate} kbit/s`,
  unknownFormat: (code) => `format ${code}`,
  speakers: 'Speakers',
  otherBlock: (tag) => `Data block ${tag}`,
  bytes: (count) => (count === 1 ? '1 byte' : `${count} bytes`),
  overrun: 'A data block runs beyond its end',
  brokenBlock: 'Data blocks',

  vendor: 'Vendor block',
  vendors: { '00-0C-03': 'HDMI', 'C4-5D-D8': 'HDMI Forum', '00-D0-46': 'Dolby', '90-84-8B': 'HDR10+' },
  address: 'HDMI: physical address',
  deepColour: 'HDMI: deep colour',
  mostRate: 'HDMI: TMDS clock',
  ability: 'HDMI: it can',
  hdmiMode: 'HDMI: video format',
  latency: 'HDMI: latency',
  latencies: (video, audio) => `picture ${video}, sound ${audio}`,
  milliseconds: (value) => `${value} ms`,
  forumRate: 'HDMI Forum: TMDS rate',
  forumLink: 'HDMI Forum: fixed rate link',
  lanes: (lanes, rate) => `${lanes} lanes of ${rate} Gbit/s`,
  forumDeep: 'HDMI Forum: deep colour in 4:2:0',
  forumAbility: 'HDMI Forum: it can',
  variable: 'HDMI Forum: variable refresh',
  hertz: (low, high) => (high ? `${low} to ${high} Hz` : `from ${low} Hz`),

  colourimetry: 'Colour spaces',
  hdr: 'HDR',
  hdrMost: 'HDR: peak',
  hdrFrame: 'HDR: frame average',
  hdrLeast: 'HDR: darkest',
  candela: (value) => `${value} cd/m²`,
  video: 'Video capability',
  range: ['', 'selectable YCbCr range', 'selectable RGB range'],
  scan: ['no statement', 'overscan', 'underscan', 'overscan and underscan'],
  scanOf: { preferred: 'preferred timing', it: 'IT formats', ce: 'CE formats' },
  statement: (of, what) => `${of}: ${what}`,
  dynamic: 'Dynamic HDR metadata',

  soundness: 'Checks',
  header: 'Header',
  headerRight: 'right',
  headerWrong: 'It does not begin as an EDID does',
  length: 'Blocks',
  lengthRight: (count) => (count === 1 ? '1, as it says' : `${count}, as it says`),
  lengthWrong: (there, said) => `It says ${said} blocks and has ${there}`,
  notWhole: 'It is not made of whole blocks of 128 bytes',
  sum: (block) => `Checksum of block ${block}`,
  sumRight: (sum) => `right (${sum})`,
  sumWrong: (block, is, right) => `The checksum of block ${block} is ${is}, not ${right}`,
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
