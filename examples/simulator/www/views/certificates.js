/* The certificates for HTTPS and for the network port (IEEE 802.1X). */
import { card, field, h } from '../dom.js';
import { certificates as texts } from '../texts.js';
import { uploader } from '../transfer.js';

export const page = { title: texts.title, intro: texts.intro };

export function render(ctx) {
  const port = h('input', { type: 'number', min: '1', max: '65535', value: '1', inputmode: 'numeric' });
  const words = ({ kind }) => kind === 'rejected' && 'The device does not accept this file: it needs a certificate and a matching key without a pass phrase';
  return h('div.columns',
    card('HTTPS', h('p', 'Used after the next start of the device.'),
      uploader(ctx, { label: 'Upload HTTPS certificate', route: '/api/v1/security/https_setting', accept: '.pem,.crt', explain: (error) => words(error) && `${words(error)}.` })),
    card('IEEE 802.1X', field('Port', port, 'The port that this certificate is for, 1 to 65535.'),
      uploader(ctx, { label: 'Upload 802.1X certificate', route: '/api/v1/security/ieee802_1x_setting', accept: '.pem,.crt',
        headers: () => ({ Port: port.value }), explain: (error) => words(error) && `${words(error)}, and a port from 1 to 65535.` })));
}
