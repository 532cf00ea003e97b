/* Opens pages in Debian's Firefox, one browser context a person, and watches them: console errors, exceptions, foreign requests. */
import { accessSync, constants } from 'node:fs';
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { installLockedPackages } from './locked_packages.mjs';

const PROGRAM = '/usr/bin/firefox-esr';
const PACKAGES = fileURLToPath(new URL('firefox', import.meta.url));
const driverIn = (output) => join(output, 'firefox');

/** Path of the browser, undefined when it is not installed. */
export function findFirefox() {
  const program = process.env.SDKAPI_FIREFOX ?? PROGRAM;
  try {
    accessSync(program, constants.X_OK);
    return program;
  } catch {
    return undefined;
  }
}

/** What drives it, beside the results of the tests; true when it is there, otherwise it has said why not. */
export const installFirefoxDriver = (output) => installLockedPackages(PACKAGES, driverIn(output));

/** Starts the browser. It takes the devices' own certificates, for shared workers and WebSockets too. */
export function launchFirefox() {
  const driver = createRequire(join(driverIn(process.env.SDKAPI_BROWSER_OUTPUT), 'package.json'))('puppeteer-core');
  return driver.launch({ browser: 'firefox', executablePath: findFirefox(), headless: true, acceptInsecureCerts: true });
}

/** A browser of one person: its pages share a login. `problems` holds what a test has not allowed. */
export async function newFirefoxPerson(browser, device, { allowed = [] } = {}) {
  return { context: await browser.createBrowserContext(), device, problems: [], allowed: [...allowed] };
}

/** A page of this person at a path of the device, or at a whole address. */
export async function openFirefoxPage(person, path = '/') {
  const page = await person.context.newPage();
  page.setDefaultTimeout(Number(process.env.SDKAPI_BROWSER_TIMEOUT ?? 15000));
  page.on('request', (request) => watchRequest(person, request.url()));
  page.on('pageerror', (error) => note(person, error.stack));
  page.on('console', (message) => message.type() === 'error' && note(person, `${message.text()} ${message.location()?.url ?? ''}`));
  await page.goto(new URL(path, person.device.url).href);
  return page;
}

function note(person, problem) {
  if (!person.allowed.some((rule) => rule.test(problem))) person.problems.push(problem);
}

function watchRequest(person, address) {
  const url = new URL(address);
  if (!['data:', 'blob:'].includes(url.protocol) && url.origin !== person.device.url) note(person, `foreign request: ${url}`);
}

/** The element of an accessible name, and of a role where one is given, as soon as it is there: byName(page, 'Log in', 'button'). */
export const byName = (page, name, role) => page.locator(`::-p-aria([name="${name}"]${role ? `[role="${role}"]` : ''})`);
