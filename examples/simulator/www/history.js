/* The last hour of the device as the pages keep it: asked for once, then only what is newer. */

export class History {
  times = [];
  columns = {};
  step = 10;
  newest = 0;

  constructor(api) {
    this.api = api;
  }

  /** Asks for what is newer; a device that has restarted has begun anew. */
  async load() {
    let answer = await this.ask(this.newest);
    if (answer.newest < this.newest) answer = await this.ask((this.newest = 0));
    this.take(answer);
    return this;
  }

  ask(since) {
    return this.api.getJson(`/sim/history?since=${since}`);
  }

  take({ columns: { time, ...columns }, newest, step, most }) {
    const isNew = this.newest === 0;
    const join = (old, more) => [...(isNew ? [] : old), ...more].slice(-most);
    this.times = join(this.times, time);
    for (const [name, values] of Object.entries(columns)) this.columns[name] = join(this.columns[name], values);
    Object.assign(this, { newest, step });
  }
}
