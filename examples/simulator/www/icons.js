/* The line drawings of the navigation and of buttons. */
import { svg } from './dom.js';

const PATHS = {
  matrix: 'M4 7h16M4 12h16M4 17h16M7 4v16M12 4v16M17 4v16',
  lock: 'M6 11h12v9H6zM8.5 11V8a3.5 3.5 0 0 1 7 0v3',
  unlock: 'M6 11h12v9H6zM8.5 11V7.5a3.5 3.5 0 0 1 6.8-1.2',
  device: 'M3 6h18v12H3zM6 12h3l2-3 2 6 2-3h3',
  units: 'M3 5h18v11H3zM8 20h8M12 16v4',
  pictures: 'M3 5h18v14H3zM3 16l5-5 4 4 3-3 6 6M15 9h.01',
  edid: 'M3 5h18v11H3zM8 20h8M7 9h4M7 12h7M16 9h1',
  scenes: 'M4 4h6v6H4zM14 4h6v6h-6zM14 14h6v6h-6zM7 10v4a3 3 0 0 0 3 3h4',
  privileges: 'M12 3l8 3v6c0 4.5-3.2 7.6-8 9-4.8-1.4-8-4.5-8-9V6zM9 12l2 2 4-4',
  users: 'M12 12a4 4 0 1 0 0-8 4 4 0 0 0 0 8zM4 21c0-4 3.5-6 8-6s8 2 8 6',
  sessions: 'M4 5h16v11H4zM8 20h8M12 8v3l2 1',
  firmware: 'M7 7h10v10H7zM10 3v4M14 3v4M10 17v4M14 17v4M3 10h4M3 14h4M17 10h4M17 14h4',
  settings: 'M4 7h9M17 7h3M4 17h3M11 17h9M13 5v4M17 5v4M7 15v4M11 15v4M13 9h4M13 5h4M7 15h4M7 19h4',
  certificates: 'M5 3h14v12H5zM8 7h8M8 11h4M15 15v6l2-1.5 2 1.5v-6',
  log: 'M5 3h14v18H5zM8 8h8M8 12h8M8 16h5',
  custom: 'M8 7l-5 5 5 5M16 7l5 5-5 5M14 4l-4 16',
  menu: 'M4 6h16M4 12h16M4 18h16',
  theme: 'M12 4a8 8 0 1 0 0 16zM12 4a8 8 0 0 1 0 16',
};

export const iconOf = (name) => svg('svg', { viewBox: '0 0 24 24', 'aria-hidden': 'true' }, svg('path', { d: PATHS[name] }));
