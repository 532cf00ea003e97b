/* Finds the browser of the tests. */
import { accessSync, constants } from 'node:fs';
import { delimiter, join } from 'node:path';

const NAMES = ['chromium', 'chromium-browser', 'google-chrome'];

/** Path of the browser, undefined when there is none. */
export function findChromium() {
  const places = NAMES.flatMap((name) => process.env.PATH.split(delimiter).map((folder) => join(folder, name)));
  return process.env.SDKAPI_CHROMIUM ?? places.find(isProgram);
}

function isProgram(place) {
  try {
    accessSync(place, constants.X_OK);
    return true;
  } catch {
    return false;
  }
}
