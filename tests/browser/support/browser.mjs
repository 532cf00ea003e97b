/* Opens pages in Chromium and watches them: console errors, foreign requests, the token, open picture streams. */
import { mkdirSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join } from 'node:path';

const output = process.env.SDKAPI_BROWSER_OUTPUT;
const { chromium } = createRequire(join(output, 'package.json'))('playwright-core');
// The certificate flag stands for a person who has accepted the device's own certificate, for shared workers too.
const ARGS = ['--ignore-certificate-errors', '--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', 
  '--disable-background-networking', '--disable-component-update', '--disable-sync'];
const SHOTS = process.env.SDKAPI_UPDATE_SCREENSHOTS === '1'
  ? new URL('../../../docs/images/', import.meta.url).pathname : join(output, 'screenshots');

// A still may be asked for at the very moment its unit goes offline.
const REFUSED_PICTURE = /status of 404 .*\/preview\//;

export const launch = () => chromium.launch({ executablePath: process.env.SDKAPI_CHROMIUM, args: ARGS });

/** A browser of one person: its tabs share a login. `problems` holds what a test has not allowed. */
export async function newPerson(browser, device, options = {}) {
  const context = await browser.newContext({ ignoreHTTPSErrors: true, viewport: { width: 1280, height: 860 }, baseURL: device.url, ...options });
  context.setDefaultTimeout(Number(process.env.SDKAPI_BROWSER_TIMEOUT ?? 15000));
  const person = { context, device, problems: [], allowed: [REFUSED_PICTURE], token: '' };
  context.on('request', (request) => watchRequest(person, request));
  context.on('weberror', (error) => person.problems.push(error.error().stack));
  context.on('console', (message) => {
    const text = `${message.text()} ${message.location()?.url ?? ''}`;
    if (message.type() === 'error' && !person.allowed.some((rule) => rule.test(text))) person.problems.push(text);
  });
  return person;
}

function watchRequest(person, request) {
  const url = new URL(request.url());
  if (!['data:', 'blob:'].includes(url.protocol) && url.origin !== person.device.url) person.problems.push(`foreign request: ${url}`);
  const token = request.headers().authorization?.slice(7);
  if (token) person.token = token;
}

export async function openTab(person, path = '/') {
  const page = await person.context.newPage();
  page.person = person;
  await page.goto(path);
  return page;
}

/** Returns a function that tells how many bytes of live pictures the tab has received so far. */
export async function pictureBytes(page) {
  const session = await page.context().newCDPSession(page);
  const streams = new Set();
  let bytes = 0;
  session.on('Network.requestWillBeSent', ({ requestId, request }) => /\/(preview|stream)/.test(request.url) && streams.add(requestId));
  session.on('Network.dataReceived', ({ requestId, dataLength }) => {
    if (streams.has(requestId)) bytes += dataLength;
  });
  await session.send('Network.enable');
  return () => bytes;
}

/** What an image shows, of its height the upper `share`, as a text; empty for one that shows nothing. */
export const pixels = (image, share = 1) => image.evaluate((element, part) => {
  if (!element.naturalWidth) return '';
  const canvas = Object.assign(document.createElement('canvas'), { width: 320, height: 180 * part });
  canvas.getContext('2d').drawImage(element, 0, 0, element.naturalWidth, element.naturalHeight * part, 0, 0, 320, 180 * part);
  return canvas.toDataURL();
}, share);

export async function shot(page, name) {
  mkdirSync(SHOTS, { recursive: true });
  await page.screenshot({ path: join(SHOTS, `${name}.png`) });
}

export const shotOfFailure = (page, name) => page.screenshot({ path: join(output, 'failures', `${name.replace(/\W+/g, '-')}.png`) });

/** Waits until probe() gives a true value; fails with `what` when it never does. */
export async function until(what, probe, milliseconds = 15000) {
  const end = Date.now() + milliseconds;
  for (;;) {
    const value = await probe();
    if (value) return value;
    if (Date.now() > end) throw new Error(`never happened: ${what}`);
    await new Promise((resolve) => setTimeout(resolve, 50));
  }
}

/** Waits for the focus on a control: a list that is drawn anew may replace it between one look and the next. */
export const hasFocus = (control) => until('the focus is there', () => control.evaluate((element) => element === document.activeElement));
