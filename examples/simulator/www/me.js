/* Who is logged in, and what that user may do. */
import { common } from './texts.js';

/** The device says no more than yes or no to each request: everything is offered. */
const EVERYTHING = { name: '', role: 0, rolename: '', mayWrite: true, mayAdminister: true };

/** Asks the device; a device that does not tell leaves everything allowed. */
export async function whoAmI(api) {
  const told = await api.getJson('/sim/me').catch(() => null);
  return { ...EVERYTHING, ...told, isKnown: Boolean(told) };
}

/** Why the user may not do what needs 'write' or 'administer'; empty when it is allowed. */
export function whyNot(me, need) {
  if (need === 'administer' && !me.mayAdminister) return common.nobodyAdministers(me.rolename);
  if (need === 'write' && !me.mayWrite) return common.nobodyWrites(me.rolename);
  return '';
}
