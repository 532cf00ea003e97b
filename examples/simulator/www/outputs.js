/* The matrix on a phone: a card for each output, with a choice of its input. */
import { showLatch } from './crosspoints.js';
import { fill, h, offer } from './dom.js';
import { inputWords, shownBy, unitHead } from './heads.js';
import { whyNot } from './me.js';
import { matrix as texts } from './texts.js';

/** { element, update() } of a Routing. */
export function outputCards(ctx, routing) {
  const element = h('ul.outputs');
  let cards = [];

  function update() {
    const { receivers } = routing;
    if (cards.length !== receivers.length) {
      cards = receivers.map((_, index) => outputCard(ctx, routing, () => routing.receivers[index]));
      fill(element, cards.map((one) => one.element));
    }
    for (const card of cards) card.update();
  }

  return { element, update };
}

function outputCard(ctx, routing, unitNow) {
  const head = unitHead(ctx);
  const choice = h('select', { onchange: () => routing.choose(unitNow(), choice.value) });
  const latch = h('button.latch', { type: 'button', onclick: () => routing.lock(unitNow(), !unitNow().locked) });
  const element = h('li.card', head.element, h('div.row', choice, latch));

  function update() {
    const unit = unitNow();
    offer(choice, [['', [{ id: '', name: texts.none }, ...routing.sources.map(({ name }) => ({ id: name, name }))]]]);
    head.update(unit, inputWords(routing, unit), shownBy(unit, routing.units));
    choice.value = routing.pending.get(unit.name) ?? unit.input;
    choice.setAttribute('aria-label', texts.input(unit.name));
    choice.disabled = Boolean(routing.refusal(unit));
    choice.title = routing.refusal(unit);
    element.classList.toggle('pending', routing.pending.has(unit.name));
    element.classList.toggle('locked', Boolean(unit.locked));
    showLatch(latch, unit, whyNot(ctx.me, 'write'));
  }

  return { element, update };
}
