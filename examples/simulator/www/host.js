/* What the host behind the console offers: a product may leave routes and slots empty. */
import { PAGES } from './pages.js';

const WANTED = [...new Set(Object.values(PAGES).flatMap(({ page }) => page.routes ?? []))];

async function lacks(api, route) {
  const answer = await api.send(route, { method: 'HEAD' }).catch(() => null);
  return answer?.status === 404;
}

/** Asks once: the model's name, and the routes of pages that this host does not have. One that knows its users has them all. */
export async function askHost(api, me) {
  if (me.isKnown) return { missing: new Set() };
  const [info, ...missing] = await Promise.all([api.getJson('/dev_info').catch(() => ({})), ...WANTED.map((route) => lacks(api, route))]);
  return { model: info.model, missing: new Set(WANTED.filter((_, at) => missing[at])) };
}

export const isOffered = ({ routes = [] }, host) => !routes.some((route) => host.missing.has(route));
