/* The certificates page: what is in use, what waits, new ones, and why one is refused. */
import assert from 'node:assert/strict';
import { X509Certificate } from 'node:crypto';
import { checkAxe } from './support/axe.mjs';
import { shot } from './support/browser.mjs';
import { card, choose, CONNECTION_LOST, drop, fillLogin, heading, logIn, makeUser, meet, onDevice, PASSWORD, refusedWith, save, SCHEMES, upload } from './support/console.mjs';
import { asFile, certificate } from './support/files.mjs';
import { identity, signRequest } from './support/pem.mjs';

const IN_USE = 'In use for HTTPS';
const WAITING = 'Waits for the next start';
const fact = (page, title, name) => card(page, title).locator('.facts div', { has: page.getByText(name, { exact: true }) }).locator('dd');
const print = (page, title) => card(page, title).locator('code');
const printOf = (pem) => new X509Certificate(pem).fingerprint256;
const enter = (person) => logIn(person, { path: '/#/certificates' });
const dialog = (page, name) => page.getByRole('dialog').getByRole('button', { name });

/** What the device does not take, and its reason. */
function badFiles() {
  const [one, other] = [identity(), identity()];
  return [
    [asFile('letter.pem', 'Dear device'), 'it is no PEM file'],
    [asFile('expired.pem', Object.values(identity({ days: -1 })).join('')), 'it has expired'],
    [asFile('mixed.pem', one.certificate + other.key), 'its key cannot be used: key values mismatch'],
    [asFile('keyless.pem', one.certificate), 'it has no key, and no key of this device belongs to it'],
    [asFile('weak.pem', Object.values(identity({ bits: 1024 })).join('')), 'its certificate cannot be used: ee key too small'],
  ];
}

for (const scheme of SCHEMES) {
  onDevice(`certificates over ${scheme}`, scheme, (flow) => {
    flow('an uploaded one waits, and can be discarded', [], async (person) => {
      const page = await enter(person);
      const pem = certificate('hall.pem');
      if (scheme === 'http') await card(page, IN_USE).getByText('the device does not serve HTTPS').waitFor();
      else assert.equal(await fact(page, IN_USE, 'Issued by').textContent(), 'itself (self-signed)');
      await checkAxe(page);
      await upload(page, 'Upload HTTPS certificate', pem);
      await card(page, WAITING).waitFor();
      assert.equal(await print(page, WAITING).textContent(), printOf(pem.buffer));
      assert.equal(await fact(page, WAITING, 'Subject').textContent(), 'CN=device');
      assert.equal(await fact(page, WAITING, 'Key').textContent(), 'RSA, 2048 bits');
      if (scheme === 'https') await shot(page, 'certificates');
      await checkAxe(page);
      await card(page, WAITING).getByRole('button', { name: 'Discard' }).click();
      await dialog(page, 'Discard').click();
      await card(page, WAITING).waitFor({ state: 'detached' });
    });

    flow('a signing request comes back as a certificate without a key', [], async (person) => {
      const page = await enter(person);
      const box = card(page, 'Signing request');
      if (scheme === 'http') await upload(page, 'Upload HTTPS certificate', certificate('hall.pem')); // whose key is used then
      await box.getByLabel('Name').fill('Hall 2');
      await box.getByLabel('Addresses').fill('hall2.example');
      await box.getByRole('button', { name: 'Make request' }).click();
      await box.getByText('The request is below.').waitFor();
      const file = await save(page, () => box.getByRole('button', { name: 'Save request' }).click());
      assert.equal(file.name, 'device.csr');
      assert.equal(await box.getByLabel('The signing request').inputValue(), file.bytes.toString());
      const answer = signRequest(file.bytes);
      await upload(page, 'Upload HTTPS certificate', asFile('answer.pem', answer));
      await card(page, WAITING).getByText('CN=authority').waitFor();
      assert.equal(await print(page, WAITING).textContent(), printOf(answer));
      await checkAxe(page);
    });
  });
}

onDevice('certificates', 'http', (flow, device) => {
  flow('a bad one is refused with the check that failed', [refusedWith(406), refusedWith(500)], async (person) => {
    const page = await enter(person);
    for (const [file, reason] of badFiles()) {
      await choose(page, 'Upload HTTPS certificate', file);
      await drop(page, 'Upload HTTPS certificate').getByText(`The device does not take this certificate. The device says: ${reason}.`, { exact: true }).waitFor();
    }
    await page.getByLabel('Port', { exact: true }).fill('70000');
    await choose(page, 'Upload 802.1X certificate', certificate('port.pem'));
    await drop(page, 'Upload 802.1X certificate').getByText('The device says: the port is none.').waitFor();
    await checkAxe(page);
  });

  flow('the device makes one with the names that it is given', [refusedWith(400)], async (person) => {
    const page = await enter(person);
    const box = card(page, 'New self-signed certificate');
    await box.getByLabel('Name').fill('Hall 1');
    await box.getByLabel('Addresses').fill('hall.example\n192.0.2.7');
    await box.getByLabel('Days').fill('0');
    await box.getByRole('button', { name: 'Make certificate' }).click();
    await box.getByText('Please enter 1 to 36500 days.').waitFor();
    await box.getByLabel('Days').fill('400');
    await box.getByLabel('Addresses').fill('hall example!');
    await box.getByRole('button', { name: 'Make certificate' }).click();
    await box.getByText('An alternative name is neither a host\'s name nor an address.').waitFor();
    await box.getByLabel('Addresses').fill('hall.example\n192.0.2.7');
    await box.getByRole('button', { name: 'Make certificate' }).click();
    await box.getByText('It waits for the next start of the device.').waitFor();
    assert.deepEqual(await fact(page, WAITING, 'For').locator('li').allTextContents(), ['hall.example', '192.0.2.7']);
    assert.equal(await fact(page, WAITING, 'Subject').textContent(), 'CN=Hall 1');
    await checkAxe(page);
  });

  flow('the port has a certificate of its own', [], async (person) => {
    const page = await enter(person);
    const pem = certificate('port.pem');
    await page.getByLabel('Port', { exact: true }).fill('3');
    await upload(page, 'Upload 802.1X certificate', pem);
    await card(page, 'IEEE 802.1X').getByText(printOf(pem.buffer)).waitFor();
    assert.equal(await fact(page, 'IEEE 802.1X', 'Port').textContent(), '3');
  });

  flow('a restart that was only played is called so', [], async (person) => {
    const page = await enter(person);
    await upload(page, 'Upload HTTPS certificate', certificate('hall.pem'));
    await card(page, WAITING).getByRole('button', { name: 'Restart device' }).click();
    await dialog(page, 'Restart device').click();
    await card(page, WAITING).getByText('The restart was only played').waitFor();
    await checkAxe(page);
  });

  flow('an operator may look', [refusedWith(401)], async (person) => {
    await enter(person);
    await makeUser(person, { name: 'otto', role: 'operator' });
    const user = await meet(device());
    const page = await logIn(user, { path: '/#/certificates', user: 'otto' });
    await card(page, IN_USE).waitFor();
    const reason = 'Only administrators may do this. Your role is operator.';
    await card(page, 'Upload a certificate').getByText(reason).waitFor();
    await card(page, 'New self-signed certificate').getByText(reason).waitFor();
    await card(page, 'Signing request').getByText(reason).waitFor();
    await checkAxe(page);
    assert.deepEqual(user.problems, []);
    await user.context.close();
  });
});

onDevice('what another device may tell', 'http', (flow) => {
  /** The page with an answer that is changed on its way. */
  async function enterWith(person, change) {
    const page = await logIn(person);
    await page.route('**/sim/certificates', async (route) => {
      const answer = await route.fetch();
      await route.fulfill(change(await answer.json()));
    });
    await page.evaluate(() => (location.hash = '#/certificates'));
    await heading(page, 'Certificates').waitFor();
    return page;
  }
  const one = { subject: 'CN=hall', issuer: 'CN=authority', names: ['hall.example'], notBefore: 1500000000, notAfter: 1600000000, state: 'expired',
    fingerprint: 'AA:BB', key: 'RSA', keyBits: 4096, selfSigned: false, chain: 2 };

  flow('an expired certificate, and one that could not be used, are called so', [], async (person) => {
    const why = 'the uploaded certificate cannot be used: its key cannot be used';
    const page = await enterWith(person, (told) => ({ json: { ...told, inUse: one, choice: 'previous', why } }));
    await page.getByText(/^The certificate expired on September 13, 2020\. Clients refuse the device, or ask\.$/).waitFor();
    await card(page, IN_USE).getByText('expired', { exact: true }).waitFor();
    assert.equal(await fact(page, IN_USE, 'Chain').textContent(), '2 certificates');
    await card(page, IN_USE).getByText(`At the last start: ${why}.`).waitFor();
    await card(page, IN_USE).getByText('The certificate before is in use again.').waitFor();
    await checkAxe(page);
  });

  flow('a certificate that is not valid yet is a question of the clock', [], async (person) => {
    const page = await enterWith(person, (told) => ({ json: { ...told, inUse: { ...one, state: 'early', notBefore: 4000000000, notAfter: 4100000000 } } }));
    await page.getByText(/^The certificate is not valid before October 2, 2096\. Is the device’s clock right\?$/).waitFor();
  });

  flow('a device that does not tell takes uploads all the same', [refusedWith(404)], async (person) => {
    const page = await enterWith(person, () => ({ status: 404, body: '' }));
    await page.getByText('This device does not tell its certificates.').waitFor();
    await upload(page, 'Upload HTTPS certificate', certificate('hall.pem'));
    await checkAxe(page);
  });
});

onDevice('a certificate that ends soon', 'https', (flow, device) => {
  flow('is used after a start, and the page warns of it', [refusedWith(401), CONNECTION_LOST, /ERR_CERT|ERR_SSL/], async (person) => {
    const page = await enter(person);
    const box = card(page, 'New self-signed certificate');
    await box.getByLabel('Days').fill('12');
    await box.getByRole('button', { name: 'Make certificate' }).click();
    const made = await print(page, WAITING).textContent();
    await device().halt();
    await page.locator('#link.bad').waitFor();
    await page.getByText('If the certificate of the device has changed, reload the page and accept the new one.').waitFor();
    await device().launch();
    await fillLogin(page, 'admin', PASSWORD);
    await heading(page, 'Certificates').waitFor();
    await page.getByText(/^The certificate expires on .*, in 1[12] days\. Clients will refuse the device then\.$/).waitFor();
    assert.equal(await print(page, IN_USE).textContent(), made);
    await card(page, IN_USE).getByText('In use since the last start.').waitFor();
    await card(page, IN_USE).getByText('expires soon', { exact: true }).waitFor();
    await checkAxe(page);
  });
});
