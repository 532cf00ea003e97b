/* The matrix of the console: routing, taking, locks, its keyboard, a phone, a viewer. */
import assert from 'node:assert/strict';
import { checkAxe } from './support/axe.mjs';
import { pixels, shot, until } from './support/browser.mjs';
import { chooseAccount, fillLogin, goTo, heading, logIn, makeUser, meet, onDevice, PASSWORD, SCHEMES } from './support/console.mjs';
import { ask, enter, inputs, point, statusText, unitOf } from './support/routing.mjs';

const PHONE = { viewport: { width: 390, height: 844 } };

/** The part of a unit's picture that does not move: its bars and its name. */
const picture = (page, unit) => pixels(page.locator(`sdkapi-preview[unit=${unit}] img`).first(), 0.5);

/** Waits until an output shows the picture of an input. */
const shows = (page, output, input) => until(`${output} shows ${input}`, async () => {
  const wanted = await picture(page, input);
  return wanted !== '' && wanted === (await picture(page, output));
});

for (const scheme of SCHEMES) {
  onDevice(`the matrix over ${scheme}`, scheme, (flow, device) => {
    flow('a click routes, in the picture and in every open console', [], async (person) => {
      const page = await logIn(person);
      await heading(page, 'Matrix').waitFor();
      await makeUser(person, { name: 'olga', role: 'operator' });
      const other = await meet(device());
      const second = await logIn(other, { user: 'olga' });
      await shows(page, 'RX01', 'TX01');
      await shows(second, 'RX01', 'TX01');
      await point(page, 'RX01 from TX02').click();
      for (const one of [page, second]) {
        await point(one, 'RX01 from TX02, routed').waitFor();
        await point(one, 'RX01 from TX01').waitFor();
        await shows(one, 'RX01', 'TX02');
      }
      await statusText(page, 'RX01 shows TX02.').waitFor();
      assert.equal((await inputs(person)).RX01, 'TX02');
      await point(second, 'RX01 from no input').click();
      await point(page, 'RX01 from no input, routed').waitFor();
      await until('no signal', async () => (await picture(page, 'RX01')) !== (await picture(page, 'TX02')));
      assert.equal((await inputs(person)).RX01, '');
      await checkAxe(page);
      assert.deepEqual(other.problems, []);
      await other.context.close();
    });
  });
}

onDevice('the matrix', 'http', (flow, device) => {
  flow('changes are collected, shown, and taken together or dropped', [], async (person) => {
    const page = await enter(person);
    await page.getByLabel('Collect changes, then take').check();
    await page.getByText('Clicks are collected; nothing changes before you take them.').waitFor();
    await point(page, 'RX01 from TX03').click();
    await point(page, 'RX02 from no input').click();
    await point(page, 'RX03 from TX01').click();
    await point(page, 'RX03 from TX01, pending').click();
    await point(page, 'RX01 from TX03, pending').waitFor();
    await point(page, 'RX01 from TX01, routed until taken').waitFor();
    await page.getByText('TX01 → TX03', { exact: true }).waitFor();
    await statusText(page, '2 changes pending').waitFor();
    await checkAxe(page);
    await shot(page, 'matrix-take');
    await page.emulateMedia({ colorScheme: 'dark' });
    await checkAxe(page);
    assert.deepEqual(await inputs(person), { RX01: 'TX01', RX02: 'TX02', RX03: 'TX03', RX04: 'TX04' });
    await page.getByRole('button', { name: 'Take', exact: true }).click();
    await statusText(page, '2 outputs changed.').waitFor();
    await point(page, 'RX02 from no input, routed').waitFor();
    assert.deepEqual(await inputs(person), { RX01: 'TX03', RX02: '', RX03: 'TX03', RX04: 'TX04' });

    await point(page, 'RX04 from TX01').click();
    await point(page, 'RX03 from TX02').click();
    await unitOf(person, 'RX04', { locked: true });
    await statusText(page, 'The pending change of RX04 is dropped: it was locked, or a unit is gone.').waitFor();
    await statusText(page, '1 change pending').waitFor();
    await page.getByRole('button', { name: 'Drop', exact: true }).click();
    await statusText(page, 'The pending changes are dropped.').waitFor();
    await point(page, 'RX03 from TX03, routed').waitFor();
    assert.equal((await inputs(person)).RX03, 'TX03');
    await goTo(page, 'Log');
    await goTo(page, 'Matrix');
    assert.ok(await page.getByLabel('Collect changes, then take').isChecked(), 'the choice is kept');
  });

  flow('the keyboard does everything', [], async (person) => {
    const page = await enter(person);
    const focused = () => page.evaluate(() => document.activeElement.getAttribute('aria-label'));
    const press = async (...keys) => {
      for (const key of keys) await page.keyboard.press(key);
      return focused();
    };
    await page.getByLabel('Collect changes, then take').focus();
    assert.equal(await press('Tab'), 'Lock RX01');
    assert.equal(await press('ArrowUp', 'ArrowLeft'), 'Lock RX01');
    assert.equal(await press('ArrowDown', 'ArrowRight', 'ArrowRight'), 'RX02 from TX01');
    assert.equal(await press('End'), 'RX02 from TX04');
    assert.equal(await press('ArrowRight'), 'RX02 from TX04');
    assert.equal(await press('Home'), 'Lock RX02');
    assert.equal(await press('Control+End'), 'RX04 from TX04, routed');
    assert.equal(await press('Control+Home'), 'Lock RX01');
    await press('End', 'Enter');
    await until('routed by Enter', async () => (await focused()) === 'RX01 from TX04, routed');
    assert.equal((await inputs(person)).RX01, 'TX04');
    await press('Home', 'Space');
    await page.getByRole('button', { name: 'Lock RX01', pressed: true }).waitFor();
    assert.equal((await unitOf(person, 'RX01')).locked, true);
    assert.equal(await page.locator('.points button[tabindex="0"]').count(), 1);

    await page.getByLabel('Collect changes, then take').check();
    await point(page, 'RX02 from TX01').focus();
    assert.equal(await press('Enter'), 'RX02 from TX01, pending');
    await page.getByText('1 change pending').waitFor();
    assert.equal(await press('Escape'), 'RX02 from TX01');
    await statusText(page, 'The pending changes are dropped.').waitFor();
    assert.equal((await inputs(person)).RX02, 'TX02');
  });

  flow('pending changes outlive a visit to another page, and a menu that is closed', [], async (person) => {
    const page = await enter(person);
    await page.getByLabel('Collect changes, then take').check();
    await point(page, 'RX01 from TX03').click();
    await point(page, 'RX04 from TX01').click();
    await page.getByRole('button', { name: 'Account' }).click();
    await page.getByText('Role: administrator').waitFor();
    await page.keyboard.press('Escape');
    await page.getByText('Role: administrator').waitFor({ state: 'hidden' });
    await page.getByLabel('Name', { exact: true }).press('Escape');
    await statusText(page, '2 changes pending').waitFor();
    await goTo(page, 'Units');
    await unitOf(person, 'RX04', { locked: true });
    await goTo(page, 'Matrix');
    await point(page, 'RX01 from TX03, pending').waitFor();
    await statusText(page, '1 change pending').waitFor();
    await page.getByRole('button', { name: 'Take', exact: true }).click();
    await point(page, 'RX01 from TX03, routed').waitFor();
    await unitOf(person, 'RX04', { locked: false });

    await point(page, 'RX02 from TX04').click();
    await statusText(page, '1 change pending').waitFor();
    await chooseAccount(page, 'Log out');
    await fillLogin(page, 'admin', PASSWORD);
    await point(page, 'RX02 from TX02, routed').waitFor();
    assert.equal(await page.locator('[data-state=pending]:not(.key)').count(), 0, 'another login has none');
  });

  flow('a locked output refuses, and says why', [], async (person) => {
    const page = await enter(person);
    await unitOf(person, 'RX04', { online: false });
    await page.locator('tr', { hasText: 'RX04' }).getByText('Offline', { exact: true }).waitFor();
    await point(page, 'Lock RX02').click();
    await statusText(page, 'RX02 is locked.').waitFor();
    await page.locator('tr', { hasText: 'RX02' }).getByText('TX02, locked', { exact: true }).waitFor();
    const locked = point(page, 'RX02 from TX03');
    assert.equal(await locked.getAttribute('aria-disabled'), 'true');
    assert.equal(await locked.getAttribute('title'), 'RX02 is locked. Unlock it first.');
    await locked.focus();
    await page.keyboard.press('Enter');
    await statusText(page, 'RX02 is locked. Unlock it first.').waitFor();
    assert.equal((await inputs(person)).RX02, 'TX02');
    await checkAxe(page);
    await point(page, 'Lock RX02').click();
    await statusText(page, 'RX02 is unlocked.').waitFor();
    await locked.click();
    await point(page, 'RX02 from TX03, routed').waitFor();
  });

  flow('a viewer sees all and is told why nothing can be changed', [], async (person) => {
    const admin = await enter(person);
    await ask(person, '/sim/presets/Day', { action: 'store' });
    await makeUser(person, { name: 'vera', role: 'viewer' });
    const viewer = await meet(device());
    const page = await logIn(viewer, { user: 'vera' });
    const reason = await page.locator('.matrix > .denied').textContent();
    assert.match(reason, /may look at this but not change it/);
    assert.equal(await page.getByLabel('Collect changes, then take').count(), 0);
    for (const name of ['RX01 from TX02', 'Lock RX01', 'Recall Day', 'Store']) {
      assert.equal(await point(page, name).getAttribute('aria-disabled'), 'true', name);
      assert.equal(await point(page, name).getAttribute('title'), reason, name);
    }
    await point(page, 'RX01 from TX02').focus();
    await page.keyboard.press('Enter');
    await statusText(page, reason).waitFor();
    assert.equal(await page.getByText('Rename or delete').count(), 0);
    await point(admin, 'RX01 from TX02').click();
    await point(page, 'RX01 from TX02, routed').waitFor();
    await checkAxe(page);
    assert.deepEqual(viewer.problems, []);
    await viewer.context.close();
  });

  flow('a phone has a card for each output', [], async (person) => {
    const desk = await enter(person);
    const hand = await meet(device(), { ...PHONE, colorScheme: 'dark' });
    const page = await logIn(hand);
    await page.getByLabel('Input of RX01').selectOption('TX02');
    await point(desk, 'RX01 from TX02, routed').waitFor();
    await shows(page, 'RX01', 'RX02');
    await page.getByLabel('Input of RX01').selectOption('No input');
    await point(desk, 'RX01 from no input, routed').waitFor();
    await point(page, 'Lock RX03').click();
    await until('the choice is locked', () => page.getByLabel('Input of RX03').isDisabled());
    await page.getByLabel('Collect changes, then take').check();
    await page.getByLabel('Input of RX02').selectOption('TX04');
    await page.getByText('1 change pending').waitFor();
    await checkAxe(page);
    await shot(page, 'matrix-phone');
    assert.equal(await page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth), 0);
    await page.getByRole('button', { name: 'Take', exact: true }).click();
    await point(desk, 'RX02 from TX04, routed').waitFor();
    await page.emulateMedia({ colorScheme: 'light' });
    await checkAxe(page);
    assert.deepEqual(hand.problems, []);
    await hand.context.close();
  });

  flow('the pictures of the heads go live when somebody looks closer', [], async (person) => {
    const page = await enter(person);
    const live = () => page.locator('sdkapi-preview[data-state=live]').evaluateAll((pictures) => pictures.map(({ unit }) => unit).sort().join());
    await point(page, 'RX02 from TX03').hover();
    await until('both run', async () => (await live()) === 'RX02,TX03');
    await page.mouse.move(2, 2);
    await until('none runs', async () => (await live()) === '');
    await point(page, 'RX01 from TX04').focus();
    await until('both run by the keyboard', async () => (await live()) === 'RX01,TX04');
  });
});
