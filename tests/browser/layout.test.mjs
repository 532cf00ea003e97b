/* The pages where there is little room, where the system's colours alone hold, and on paper. */
import assert from 'node:assert/strict';
import { checkAxe } from './support/axe.mjs';
import { until } from './support/browser.mjs';
import { CONNECTION_LOST, goTo, heading, logIn, makeUser, meet, onDevice, refusedWith } from './support/console.mjs';
import { enter, point } from './support/routing.mjs';

const SMALL = { width: 320, height: 640 };
const NAME = 'a-user.with_the-longest_name-31'; // as long as a name may be

const wider = (page) => page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth);

/** Whether all of it is inside the page and the boxes around it, which might have to be scrolled. */
const isWhole = (control) => control.evaluate((element) => {
  const { left, right } = element.getBoundingClientRect();
  for (let box = element.parentElement; box; box = box.parentElement) {
    const around = box.getBoundingClientRect();
    if (getComputedStyle(box).overflowX !== 'visible' && (left < around.left || right > around.right)) return false;
  }
  return left >= 0 && right <= document.documentElement.clientWidth;
});

onDevice('little room', 'http', (flow) => {
  flow('no page is wider than the smallest phone', [], async (person) => {
    const page = await logIn(person);
    await makeUser(person, { name: NAME, role: 'operator' });
    const pages = await page.getByRole('navigation').getByRole('link').allTextContents();
    await page.setViewportSize(SMALL);
    for (const name of pages) {
      await goTo(page, name);
      assert.equal(await wider(page), 0, name);
    }
    await goTo(page, 'Sessions');
    const end = page.getByRole('button', { name: `End the login of ${NAME} from 127.0.0.1` });
    await end.waitFor();
    assert.ok(await isWhole(end));
    await page.getByRole('row', { name: new RegExp(`^${NAME} Operator 127\\.0\\.0\\.1 Logged in: .* Last used: .* Event channels: 0 End`) }).waitFor();
    assert.equal(await wider(page), 0);
    await checkAxe(page);
    await goTo(page, 'Users');
    for (const name of [`Role of ${NAME}`, `Password: ${NAME}`, `Delete: ${NAME}`]) {
      await page.getByLabel(name).waitFor();
      assert.ok(await isWhole(page.getByLabel(name)), name);
    }
    assert.equal(await wider(page), 0);
    await checkAxe(page);
    await page.emulateMedia({ colorScheme: 'dark' });
    await checkAxe(page);
  });
});

onDevice('a lost connection', 'https', (flow, device) => {
  flow('moves nothing that somebody may be about to press', [CONNECTION_LOST, refusedWith(401)], async (person) => {
    const page = await enter(person);
    const hand = await meet(device(), { viewport: SMALL });
    hand.allowed.push(CONNECTION_LOST, refusedWith(401));
    const small = await logIn(hand);
    await small.getByLabel('Input of RX01').waitFor();
    const top = () => point(page, 'RX03 from TX01').evaluate((button) => button.getBoundingClientRect().top);
    const before = await top();
    await device().halt();
    for (const one of [page, small]) await one.getByRole('alert').getByText('The device cannot be reached. The console tries again by itself.').waitFor();
    assert.equal(await top(), before);
    await small.locator('#model').evaluate((model) => (model.textContent = 'MODEL'.repeat(8)));
    assert.equal(await wider(small), 0);
    await checkAxe(small);
    await checkAxe(page);
    assert.deepEqual(hand.problems, []);
    await hand.context.close();
    await device().launch();
  });
});

onDevice('other colours', 'http', (flow) => {
  flow('where the system’s colours alone hold, a switch shows how it stands', [], async (person) => {
    const page = await enter(person);
    await page.emulateMedia({ forcedColors: 'active' });
    const control = page.getByLabel('Collect changes, then take');
    const look = async () => (await control.screenshot()).toString('base64');
    const off = await look();
    await control.check();
    await page.mouse.move(2, 2);
    await until('another look', async () => (await look()) !== off);
    await goTo(page, 'Units');
    const colours = (one) => one.evaluate((element) => getComputedStyle(element).backgroundColor);
    assert.notEqual(await colours(page.getByRole('button', { name: 'All' })), await colours(page.getByRole('button', { name: 'Receivers' })));
  });

  flow('on paper stands the whole matrix alone, dark on light', [], async (person) => {
    const page = await enter(person, { path: '/' });
    await page.getByRole('button', { name: /^Colours:/ }).click();
    await page.getByRole('button', { name: 'Colours: light' }).click();
    await page.getByRole('button', { name: 'Colours: dark' }).waitFor();
    await page.emulateMedia({ media: 'print' });
    assert.ok(await point(page, 'RX01 from TX01, routed').isVisible());
    for (const hidden of [page.getByRole('banner'), page.getByRole('navigation'), page.getByLabel('Collect changes, then take'), page.getByRole('button', { name: 'Store' })]) {
      assert.ok(!(await hidden.isVisible()));
    }
    const styles = (selector, ...names) => page.locator(selector).evaluate((element, all) => all.map((name) => getComputedStyle(element)[name]), names);
    assert.deepEqual(await styles('html', 'colorScheme', 'printColorAdjust'), ['light', 'exact']);
    assert.deepEqual(await styles('.pointframe', 'maxHeight', 'overflowY'), ['none', 'visible']);
    await heading(page, 'Matrix').waitFor();
  });
});
