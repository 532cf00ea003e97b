/* Why the device refused an upload: its answer has no room for the reason. */

/** The reason for which the device refused the last upload to this route, in its own words; empty when it does not say. */
export async function reasonOf(api, route) {
  try {
    const { refusals } = await api.getJson('/sim/refusals');
    return refusals.find((refusal) => refusal.route === route)?.reason ?? '';
  } catch {
    return '';
  }
}
