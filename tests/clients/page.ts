/* What a page in TypeScript may write, and what the compiler has to refuse. */
import { ApiError, Channel, Connection, Device } from 'sdkapi-client';
import { Preview } from 'sdkapi-client/preview';

const device = new Device({ base: 'https://device.local:8443' });

export async function requests() {
  const answer = await device.login('admin', 'secret');
  if (answer.code === 0) {
    const token: string = answer.token;
    return token;
  }
  // @ts-expect-error a refusal has no token
  const none: string = answer.token;
  const model: string | undefined = (await device.getJson('/dev_info')).model;
  const units = (await device.getJson('/sim/units')).units;
  const online: boolean = units[0].online;
  // @ts-expect-error a unit is a transmitter or a receiver
  const hub: boolean = units[0].type === 'hub';
  await device.postJson('/createuser', { username: 'olga', password: 'Correct-Horse-7', role: 2 });
  // @ts-expect-error the role is a number
  await device.postJson('/createuser', { username: 'olga', password: 'Correct-Horse-7', role: 'operator' });
  // A route of the device's own is not described here.
  const own = await device.getJson('/own/route');
  return [none, model, online, hub, own.anything];
}

export function events(channel: Channel, connection: Connection) {
  channel.on('unit', ({ unit, was }) => console.log(unit.name, was ?? ''));
  connection.on('upgrade', ({ phase }) => phase === 'rebooting');
  // @ts-expect-error no message has this type
  channel.on('weather', () => {});
  // @ts-expect-error a status has no unit
  channel.on('status', ({ unit }) => unit);
  // @ts-expect-error the unit's name is missing
  return connection.command({ type: 'set-unit-online', online: true });
}

export function listeners(channel: Channel, connection: Connection) {
  connection.addEventListener('session', ({ detail }) => console.log(detail.required, detail.token ?? ''));
  connection.addEventListener('state', ({ detail }) => console.log(detail?.model ?? ''));
  channel.addEventListener('state', ({ detail }) => detail === 'lost', { once: true });
  // @ts-expect-error a link has no such state
  connection.addEventListener('link', ({ detail }) => detail === 'tired');
  document.querySelector('sdkapi-preview')?.play();
  document.createElement('sdkapi-preview').unit = 'TX01';
  // @ts-expect-error there is no such mode
  document.createElement('sdkapi-preview').mode = 'fast';
}

export function failures(error: unknown, preview: Preview) {
  preview.mode = 'still';
  // @ts-expect-error there is no such mode
  preview.mode = 'fast';
  return error instanceof ApiError && error.kind === 'ended';
}
